// What a primitive is called with in a benchmark. From the list of primitives come the types and
// the names of the parameters, and these tell what each is for.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "primitives/types.h"

namespace zr::bench {

/// "(const float* a, int32_t n)" gives a, n.
std::vector<std::string> ParameterNames(const std::string& parameters);

/// A constant of which no primitive makes a short cut, and that keeps a vector that is changed in
/// place, over and over, among the normal numbers or leads it straight to the infinities.
double ConstantFor(const std::string& name);

inline bool IsSource(const std::string& name) {
  return name == "a" || name == "b" || name == "re" || name == "im";
}
inline bool IsDestination(const std::string& name) {
  return name == "d";
}
inline bool IsInPlace(const std::string& name) {
  return name == "s";
}

/// Two sources, a destination and the single results, for vectors up to the longest.
class Operands {
 public:
  static constexpr int32_t kLongest = 16'000'000;

  static Operands& Shared();

  /// What is filled next is what was filled first.
  void Restart() { random_.seed(); }

  /// Fills what a parameter points to. Sources beside a vector in place hold units, so that
  /// products and quotients stay what they are.
  template <typename Parameter>
  void Fill(const std::string& name, int32_t length, bool isBesideInPlace) {
    if constexpr (std::is_pointer_v<Parameter>) {
      using Element = std::remove_const_t<std::remove_pointer_t<Parameter>>;
      auto* const vector = static_cast<Element*>(AddressOf(name));
      const bool isSingle = !IsSource(name) && !IsDestination(name) && !IsInPlace(name);
      FillVector(vector, isSingle ? 1 : static_cast<std::size_t>(length),
                 isBesideInPlace && IsSource(name));
    }
  }

  template <typename Parameter>
  Parameter Argument(const std::string& name, int32_t length, int32_t scaleFactor) {
    if constexpr (std::is_pointer_v<Parameter>) {
      return static_cast<Parameter>(AddressOf(name));
    } else if constexpr (std::is_same_v<Parameter, int32_t>) {
      if (name == "n" || name == "length") return length;
      return name == "scaleFactor" ? scaleFactor : static_cast<int32_t>(ConstantFor(name));
    } else {
      return static_cast<Parameter>(ConstantFor(name));
    }
  }

  void* AddressOf(const std::string& name);

  /// The first bytes of what a call has left: destination, or vector in place, and results.
  std::vector<uint8_t> Outcome(std::size_t byteCount);

 private:
  static constexpr std::size_t kMostBytes = kLongest * sizeof(Complex64f);

  Operands();

  template <typename Element>
  void FillVector(Element* vector, std::size_t count, bool withUnits) {
    const std::size_t distinct = count < kDistinct ? count : kDistinct;
    for (std::size_t i = 0; i < distinct; ++i) {
      vector[i] = Next<Element>(withUnits);
    }
    for (std::size_t i = distinct; i < count; i += distinct) {
      const std::size_t left = count - i;
      std::memcpy(vector + i, vector, (left < distinct ? left : distinct) * sizeof(Element));
    }
  }

  template <typename Element>
  Element Next(bool isUnit) {
    if constexpr (std::is_integral_v<Element>) {
      return static_cast<Element>(random_());
    } else if constexpr (std::is_floating_point_v<Element>) {
      const auto bits = static_cast<uint32_t>(random_());
      const Element magnitude = isUnit ? 1 : 64 + static_cast<Element>(bits >> 8) * 0x1p-18F;
      return bits % 2 != 0 ? -magnitude : magnitude;
    } else {
      using Part = decltype(Element::re);
      const Part re = Next<Part>(isUnit);
      return {re, isUnit ? 0 : Next<Part>(false)};
    }
  }

  static constexpr std::size_t kDistinct = 65536;

  std::mt19937 random_;
  std::array<std::unique_ptr<uint8_t[]>, 3> blocks_;
  std::array<double, 2> results_{};
};

}  // namespace zr::bench
