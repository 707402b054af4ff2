// The Fourier transforms of 2^2 to 2^20 points against KissFFT and FFTW, from one vector to
// another. Cases are named by primitive and order.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "bench/fft/transforms.h"
#include "bench/rows.h"

namespace zr::bench {
namespace {

constexpr int32_t kSmallestOrder = 2;
constexpr int32_t kLargestOrder = 20;

/// The source and the destination of all transforms, on lines of the cache. The source is never
/// changed.
template <typename Element>
class Vectors {
 public:
  static Vectors& Shared() {
    static Vectors vectors;
    return vectors;
  }

  const Element* Source() const { return source_.get(); }
  Element* Destination() const { return destination_.get(); }

 private:
  static constexpr std::size_t kLength = std::size_t{2} << kLargestOrder;
  using Vector = std::unique_ptr<Element, void (*)(void*)>;

  static Vector Allocate() {
    constexpr std::size_t kLine = 64;
    void* const vector = std::aligned_alloc(kLine, kLength * sizeof(Element));
    if (vector == nullptr) throw std::bad_alloc();
    return Vector(static_cast<Element*>(vector), &std::free);
  }

  Vectors() : source_(Allocate()), destination_(Allocate()) {
    std::mt19937 random;
    for (std::size_t i = 0; i < kLength; ++i) {
      source_.get()[i] = static_cast<Element>(static_cast<int32_t>(random())) * Element{0x1p-31F};
    }
  }

  Vector source_;
  Vector destination_;
};

/// Whether destination holds the transform of source, but for the rounding of its element type.
template <typename Element>
bool IsTransform(Form form, int32_t order, const Element* source, const Element* destination) {
  constexpr double kLargestError = sizeof(Element) == sizeof(float) ? 1e-5 : 1e-13;
  const std::vector<double> exactSource(source, source + SourceLength(form, order));
  std::vector<double> expected(static_cast<std::size_t>(DestinationLength(form, order)));
  ReferenceTransform(form, order, exactSource.data(), expected.data())();
  double energy = 0.0;
  double errorEnergy = 0.0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    energy += expected[i] * expected[i];
    errorEnergy += std::pow(static_cast<double>(destination[i]) - expected[i], 2);
  }
  return std::sqrt(errorEnergy) <= kLargestError * std::sqrt(energy);
}

template <typename Element>
using Planner = Transform (*)(Form, int32_t, const Element*, Element*);

/// A transform that has been found right, or an empty one.
template <typename Element>
Transform RightTransform(Form form, int32_t order, Planner<Element> plan) {
  const Vectors<Element>& vectors = Vectors<Element>::Shared();
  Transform transform = plan(form, order, vectors.Source(), vectors.Destination());
  if (!transform) return {};
  transform();
  if (!IsTransform(form, order, vectors.Source(), vectors.Destination())) return {};
  return transform;
}

/// Plans at the first run, and keeps the plan for the runs that follow.
template <typename Element>
void RegisterContender(const std::string& primitive, Form form, int32_t order,
                       const char* contender, Planner<Element> plan) {
  std::string name = primitive;
  name += order < 10 ? "/0" : "/";
  name += std::to_string(order);
  const auto run = [=, transform = Transform()](benchmark::State& state) mutable {
    if (!transform) transform = RightTransform(form, order, plan);
    if (!transform) return state.SkipWithError("No transform, or not the right one");
    constexpr std::size_t kBytesPerPart = 2 * sizeof(Element);
    Measure(state, 1 << order, IsReal(form) ? kBytesPerPart : 2 * kBytesPerPart, transform);
  };
  Register(name, contender, run);
}

template <typename Element>
void RegisterContenders(const std::string& primitive, Form form) {
  for (int32_t order = kSmallestOrder; order <= kLargestOrder; ++order) {
    RegisterContender<Element>(primitive, form, order, "ours", &OurTransform);
    RegisterContender<Element>(primitive, form, order, "kissfft", &KissFftTransform);
    RegisterContender<Element>(primitive, form, order, "fftw", &FftwTransform);
  }
}

[[maybe_unused]] const bool kAreCasesRegistered = [] {
  RegisterContenders<float>("FFTFwd_CToC_32fc", Form::kComplexForward);
  RegisterContenders<float>("FFTInv_CToC_32fc", Form::kComplexInverse);
  RegisterContenders<float>("FFTFwd_RToCCS_32f", Form::kRealForward);
  RegisterContenders<float>("FFTInv_CCSToR_32f", Form::kRealInverse);
  RegisterContenders<double>("FFTFwd_CToC_64fc", Form::kComplexForward);
  return true;
}();

}  // namespace
}  // namespace zr::bench
