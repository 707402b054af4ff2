// FIR filter by direct convolution, px build. What is filtered in floats is only what the delay
// line takes part in; the rest of a long piece is read as the 16-bit samples that it is.
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/fir_state.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/stream_blocks.h"

namespace zr::primitives {

void FilterDirectly(const int16_t* source, int16_t* d, int32_t count, Fir32f16s* state,
                    int32_t scaleFactor) {
  const float* const taps = state->reversedTaps;
  const int32_t tapsLen = state->tapsLen;
  const auto filterPiece = [=](int32_t first, int32_t length) {
    const int16_t* const piece = source + first;
    const int32_t head = length < state->directSplit ? length : state->directSplit;
    px::ippsConvert_16s32f(piece, state->delayLine + tapsLen, head);
    SlidingDotProducts<false>(taps, tapsLen, state->delayLine + 1, head, state->directWork, 1);
    if (head < length) {
      SlidingDotProducts<false>(taps, tapsLen, piece + (head - tapsLen + 1), length - head,
                                state->directWork + head, 1);
    }
    PushIntoDelayLine(state, piece, length);
    px::ippsConvert_32f16s_Sfs(state->directWork, d + first, length, kRoundToNearest, scaleFactor);
  };
  ForEachBlock(count, kDirectPieceLength, filterPiece);
}

}  // namespace zr::primitives
