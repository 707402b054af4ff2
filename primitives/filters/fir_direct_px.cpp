// FIR filter by direct convolution, px build. What is filtered in floats is only what the delay
// line takes part in; the rest of a long piece is read as the 16-bit samples that it is.
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/fir_state.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/stream_blocks.h"
#include "primitives/rounding.h"

namespace zr::primitives {
namespace {

/// d[n] = the sum of each window, rounded once.
template <typename Sample>
void FilterWindows(const float* taps, int32_t tapsLen, const Sample* samples, int32_t count,
                   float* d) {
  ForEachWindow(taps, tapsLen, samples, count,
                [d](int32_t n, double sum) { d[n] = RoundToFloat(sum); });
}

}  // namespace

void FilterDirectly(const int16_t* source, int16_t* d, int32_t count, Fir32f16s* state,
                    int32_t scaleFactor) {
  const float* const taps = state->reversedTaps;
  const int32_t tapsLen = state->tapsLen;
  const auto filterPiece = [=](int32_t first, int32_t length) {
    const int16_t* const piece = source + first;
    const int32_t head = length < state->directSplit ? length : state->directSplit;
    px::ippsConvert_16s32f(piece, state->delayLine + tapsLen, head);
    FilterWindows(taps, tapsLen, state->delayLine + 1, head, state->directWork);
    if (head < length) {
      FilterWindows(taps, tapsLen, piece + (head - tapsLen + 1), length - head,
                    state->directWork + head);
    }
    PushIntoDelayLine(state, piece, length);
    px::ippsConvert_32f16s_Sfs(state->directWork, d + first, length, kRoundToNearest, scaleFactor);
  };
  ForEachBlock(count, kDirectPieceLength, filterPiece);
}

}  // namespace zr::primitives
