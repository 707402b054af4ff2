// Conversions between sample types, and reversal, px build.
#include "primitives/conversion.h"

#include "primitives/argument_checks.h"
#include "primitives/float_words.h"
#include "primitives/rounding.h"
#include "primitives/scaling.h"

using namespace zr::primitives;

namespace {

int16_t ToSaturated16s(double value, bool roundsToNearest) {
  if (value >= 32767.0) return 32767;
  if (!(value > -32768.0)) return -32768;  // A NaN too.
  const int32_t integer = roundsToNearest ? RoundTiesToEven(value) : static_cast<int32_t>(value);
  return static_cast<int16_t>(integer);
}

}  // namespace

int32_t ippsFlip_32f_I(float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, d)) return status;
  for (int32_t low = 0, high = n - 1; low < high; ++low, --high) {
    const uint32_t word = LoadWord(d + low);
    StoreWord(d + low, LoadWord(d + high));
    StoreWord(d + high, word);
  }
  return kStatusOk;
}

int32_t ippsConvert_16s32f_Sfs(const int16_t* s, float* d, int32_t n, int32_t scaleFactor) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  const float multiplier = FloatPowerOfTwo(scaleFactor);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = RoundToFloat(static_cast<float>(s[i]) * multiplier);
  }
  return kStatusOk;
}

int32_t ippsConvert_32f16s_Sfs(const float* s, int16_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  const double multiplier = DoublePowerOfTwo(scaleFactor);
  const bool roundsToNearest = roundMode == kRoundToNearest;
  for (int32_t i = 0; i < n; ++i) {
    d[i] = ToSaturated16s(static_cast<double>(s[i]) * multiplier, roundsToNearest);
  }
  return kStatusOk;
}
