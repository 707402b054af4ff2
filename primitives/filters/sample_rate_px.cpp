// Zeros put in between samples and samples left out, px build.
#include <cstddef>
#include <cstring>
#include <limits>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/special_constants.h"

namespace zr::primitives::px {
namespace {

int32_t CheckSampling(const int16_t* source, int32_t srcLen, const int16_t* d,
                      const int32_t* dstLen, int32_t factor, const int32_t* phase) {
  if (const int32_t status = CheckArguments(srcLen, 1, source, d, dstLen, phase)) return status;
  if (factor < 1) return kStatusSamplingFactor;
  const int32_t start = Load(phase, 0);
  return start < 0 || start >= factor ? kStatusSamplingPhase : kStatusOk;
}

}  // namespace

int32_t ippsSampleUp_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                         int32_t factor, int32_t* pPhase) {
  const int32_t status = CheckSampling(pSrc, srcLen, pDst, pDstLen, factor, pPhase);
  if (status != kStatusOk) return status;
  const int64_t dstLen = int64_t{srcLen} * factor;
  if (dstLen > std::numeric_limits<int32_t>::max()) return kStatusSize;
  if (factor == 1) {
    CopyElements(pSrc, pDst, srcLen);
  } else {
    std::memset(pDst, 0, static_cast<std::size_t>(dstLen) * sizeof(*pDst));
    int16_t* const first = pDst + Load(pPhase, 0);
    for (int32_t k = 0; k < srcLen; ++k) {
      Store(first, k * factor, Load(pSrc, k));
    }
  }
  Store(pDstLen, 0, static_cast<int32_t>(dstLen));
  return kStatusOk;
}

int32_t ippsSampleDown_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                           int32_t factor, int32_t* pPhase) {
  const int32_t status = CheckSampling(pSrc, srcLen, pDst, pDstLen, factor, pPhase);
  if (status != kStatusOk) return status;
  int64_t next = Load(pPhase, 0);
  int32_t kept = 0;
  for (; next < srcLen; next += factor) {
    Store(pDst, kept, Load(pSrc, static_cast<int32_t>(next)));
    ++kept;
  }
  Store(pDstLen, 0, kept);
  Store(pPhase, 0, static_cast<int32_t>(next - srcLen));
  return kStatusOk;
}

}  // namespace zr::primitives::px
