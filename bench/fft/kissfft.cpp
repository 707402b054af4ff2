// KissFFT: its library of single precision, and for double precision, of which Debian has no
// library, its template, compiled with our flags.
#include <kiss_fft.h>
#include <kiss_fftr.h>
#include <kissfft.hh>

#include <complex>
#include <memory>

#include "bench/fft/transforms.h"

namespace zr::bench {

Transform KissFftTransform(Form form, int32_t order, const float* source, float* destination) {
  const int n = 1 << order;
  const int isInverse = IsForward(form) ? 0 : 1;
  if (!IsReal(form)) {
    const std::shared_ptr<kiss_fft_state> plan(kiss_fft_alloc(n, isInverse, nullptr, nullptr),
                                               &kiss_fft_free);
    const auto* const from = reinterpret_cast<const kiss_fft_cpx*>(source);
    auto* const to = reinterpret_cast<kiss_fft_cpx*>(destination);
    return [=] { kiss_fft(plan.get(), from, to); };
  }
  const std::shared_ptr<kiss_fftr_state> plan(kiss_fftr_alloc(n, isInverse, nullptr, nullptr),
                                              &kiss_fftr_free);
  if (isInverse != 0) {
    const auto* const from = reinterpret_cast<const kiss_fft_cpx*>(source);
    return [=] { kiss_fftri(plan.get(), from, destination); };
  }
  auto* const to = reinterpret_cast<kiss_fft_cpx*>(destination);
  return [=] { kiss_fftr(plan.get(), source, to); };
}

Transform KissFftTransform(Form form, int32_t order, const double* source, double* destination) {
  if (IsReal(form)) return {};
  const auto plan =
      std::make_shared<kissfft<double>>(std::size_t{1} << order, /*inverse=*/!IsForward(form));
  const auto* const from = reinterpret_cast<const std::complex<double>*>(source);
  auto* const to = reinterpret_cast<std::complex<double>*>(destination);
  return [=] { plan->transform(from, to); };
}

}  // namespace zr::bench
