// FIR filter by overlap-save, px build: blocks of the transform's length, each from tapsLen - 1
// samples before its first output on, whose own outputs are wrapped and dropped.
#include <cstring>

#include "primitives/dispatch/px_entries.h"
#include "primitives/fft/packed_forms.h"
#include "primitives/filters/fir_state.h"
#include "primitives/rounding.h"
#include "primitives/status.h"

namespace zr::primitives {
namespace {

/// A spectrum in Perm order, times another: two real elements, then complex pairs.
void MultiplySpectra(const float* a, float* s, int32_t n) {
  constexpr int32_t kRealCount = 2;
  px::ippsMul_32f_I(a, s, kRealCount);
  px::ippsMul_32fc_I(reinterpret_cast<const Complex32f*>(a + kRealCount),
                     reinterpret_cast<Complex32f*>(s + kRealCount), n / 2 - 1);
}

int32_t FilterBlock(const Fir32f16s& state) {
  float* const work = state.fftWork;
  const int32_t status = px::FFTFwdRToPerm(work, work, state.fft, state.fftBuffer);
  if (status != kStatusOk) return status;
  MultiplySpectra(state.tapsSpectrum, work, state.fftLength);
  return px::FFTInvPermToR(work, work, state.fft, state.fftBuffer);
}

/// filled samples stand in the work array, and zeros are to stand behind them.
void PadWithZeros(const Fir32f16s& state, int32_t filled) {
  std::memset(state.fftWork + filled, 0,
              static_cast<std::size_t>(state.fftLength - filled) * sizeof(float));
}

}  // namespace

int32_t FilterByTransform(const int16_t* source, int16_t* d, int32_t count, Fir32f16s* state,
                          int32_t scaleFactor) {
  const int32_t wrapped = state->tapsLen - 1;
  const int32_t outputsOfBlock = state->fftLength - wrapped;
  float* const work = state->fftWork;

  for (int32_t done = 0; done < count;) {
    const int32_t left = count - done;
    const int32_t outputs = left < outputsOfBlock ? left : outputsOfBlock;
    if (done == 0) {
      std::memcpy(work, state->delayLine + 1, static_cast<std::size_t>(wrapped) * sizeof(float));
      px::ippsConvert_16s32f(source, work + wrapped, outputs);
      PushIntoDelayLine(state, source, count);
    } else {
      px::ippsConvert_16s32f(source + (done - wrapped), work, wrapped + outputs);
    }
    PadWithZeros(*state, wrapped + outputs);
    if (const int32_t status = FilterBlock(*state)) return status;
    px::ippsConvert_32f16s_Sfs(work + wrapped, d + done, outputs, kRoundToNearest, scaleFactor);
    done += outputs;
  }
  return kStatusOk;
}

}  // namespace zr::primitives
