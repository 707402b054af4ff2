// FFTW, in both precisions.
#include <fftw3.h>

#include <memory>
#include <type_traits>

#include "bench/fft/transforms.h"

namespace zr::bench {
namespace {

template <typename Element>
struct Fftw;
template <>
struct Fftw<float> {
  using Complex = fftwf_complex;
  using Plan = fftwf_plan;
  static constexpr auto kAllocate = &fftwf_alloc_real;
  static constexpr auto kFree = &fftwf_free;
  static constexpr auto kDestroyPlan = &fftwf_destroy_plan;
  static constexpr auto kPlanComplex = &fftwf_plan_dft_1d;
  static constexpr auto kPlanRealForward = &fftwf_plan_dft_r2c_1d;
  static constexpr auto kPlanRealInverse = &fftwf_plan_dft_c2r_1d;
  static constexpr auto kRunComplex = &fftwf_execute_dft;
  static constexpr auto kRunRealForward = &fftwf_execute_dft_r2c;
  static constexpr auto kRunRealInverse = &fftwf_execute_dft_c2r;
};
template <>
struct Fftw<double> {
  using Complex = fftw_complex;
  using Plan = fftw_plan;
  static constexpr auto kAllocate = &fftw_alloc_real;
  static constexpr auto kFree = &fftw_free;
  static constexpr auto kDestroyPlan = &fftw_destroy_plan;
  static constexpr auto kPlanComplex = &fftw_plan_dft_1d;
  static constexpr auto kPlanRealForward = &fftw_plan_dft_r2c_1d;
  static constexpr auto kPlanRealInverse = &fftw_plan_dft_c2r_1d;
  static constexpr auto kRunComplex = &fftw_execute_dft;
  static constexpr auto kRunRealForward = &fftw_execute_dft_r2c;
  static constexpr auto kRunRealInverse = &fftw_execute_dft_c2r;
};

// Timing plans overwrites the vectors they are made on, so that these are others than those that
// will be transformed.
template <typename Element>
Transform PlannedTransform(Form form, int32_t order, const Element* source, Element* destination,
                           unsigned rigour) {
  using Api = Fftw<Element>;
  using Complex = typename Api::Complex;
  using Vector = std::unique_ptr<Element, decltype(Api::kFree)>;
  const Vector ownSource(Api::kAllocate(static_cast<std::size_t>(SourceLength(form, order))),
                         Api::kFree);
  const Vector ownDestination(
      Api::kAllocate(static_cast<std::size_t>(DestinationLength(form, order))), Api::kFree);
  const auto share = [](typename Api::Plan plan) {
    return std::shared_ptr<std::remove_pointer_t<typename Api::Plan>>(plan, Api::kDestroyPlan);
  };

  const int n = 1 << order;
  const unsigned flags = rigour | FFTW_PRESERVE_INPUT;
  auto* const from = const_cast<Element*>(source);  // Preserved.
  auto* const complexFrom = reinterpret_cast<Complex*>(from);
  auto* const complexTo = reinterpret_cast<Complex*>(destination);
  auto* const ownComplexSource = reinterpret_cast<Complex*>(ownSource.get());
  auto* const ownComplexDestination = reinterpret_cast<Complex*>(ownDestination.get());
  if (form == Form::kRealForward) {
    const auto plan =
        share(Api::kPlanRealForward(n, ownSource.get(), ownComplexDestination, flags));
    return [=] { Api::kRunRealForward(plan.get(), from, complexTo); };
  }
  if (form == Form::kRealInverse) {
    const auto plan =
        share(Api::kPlanRealInverse(n, ownComplexSource, ownDestination.get(), flags));
    return [=] { Api::kRunRealInverse(plan.get(), complexFrom, destination); };
  }
  const auto plan = share(Api::kPlanComplex(n, ownComplexSource, ownComplexDestination,
                                            IsForward(form) ? FFTW_FORWARD : FFTW_BACKWARD, flags));
  return [=] { Api::kRunComplex(plan.get(), complexFrom, complexTo); };
}

}  // namespace

Transform FftwTransform(Form form, int32_t order, const float* source, float* destination) {
  return PlannedTransform(form, order, source, destination, FFTW_MEASURE);
}
Transform FftwTransform(Form form, int32_t order, const double* source, double* destination) {
  return PlannedTransform(form, order, source, destination, FFTW_MEASURE);
}
Transform ReferenceTransform(Form form, int32_t order, const double* source, double* destination) {
  return PlannedTransform(form, order, source, destination, FFTW_ESTIMATE);
}

}  // namespace zr::bench
