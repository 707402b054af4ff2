// Elements of every type for tests: ordinary numbers, ties of rounding, the ends of ranges, zeros
// of both signs, subnormals, infinities and NaNs. The sequence is the same in every build.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "primitives/types.h"

namespace zr::test {

class RandomElements {
 public:
  /// Special numbers come only where they are asked for: a sum that has met one tells no more.
  RandomElements(uint64_t seed, bool withSpecials) : state_(seed), withSpecials_(withSpecials) {}

  uint64_t Bits() {
    // splitmix64
    uint64_t z = state_ += 0x9e3779b97f4a7c15U;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
  }

  template <typename Element>
  Element Next() {
    if constexpr (std::is_same_v<Element, Complex32f>) {
      return {Next<float>(), Next<float>()};
    } else if constexpr (std::is_same_v<Element, Complex64f>) {
      return {Next<double>(), Next<double>()};
    } else if constexpr (std::is_same_v<Element, Complex32s>) {
      return {Next<int32_t>(), Next<int32_t>()};
    } else if constexpr (std::is_floating_point_v<Element>) {
      return Real<Element>();
    } else {
      return Integer<Element>();
    }
  }

 private:
  template <typename Real_>
  Real_ Real() {
    using Limits = std::numeric_limits<Real_>;
    const uint64_t kind = Bits() % 16;
    const uint64_t bits = Bits();
    if (withSpecials_ && kind == 0) {
      const Real_ specials[] = {Real_{0},
                                -Real_{0},
                                Limits::infinity(),
                                -Limits::infinity(),
                                Limits::quiet_NaN(),
                                Limits::max(),
                                Limits::lowest(),
                                Limits::denorm_min(),
                                Limits::min(),
                                Real_{1},
                                -Real_{1},
                                Real_{32767.5}};
      return specials[bits % std::size(specials)];
    }
    if (withSpecials_ && kind == 1) {  // Any pattern at all.
      return std::bit_cast<Real_>(static_cast<WordAs<Real_>>(bits));
    }
    const auto integer = static_cast<int32_t>(bits);
    if (kind < 5) return static_cast<Real_>((integer >> 18) * 2 + 1) / 2;  // A tie.
    if (kind < 8) return static_cast<Real_>(integer >> 9);
    return static_cast<Real_>(integer >> 8) / 8388608;
  }

  template <typename Integer_>
  Integer_ Integer() {
    using Limits = std::numeric_limits<Integer_>;
    const uint64_t kind = Bits() % 8;
    const uint64_t bits = Bits();
    if (kind == 0) return bits % 2 == 0 ? Limits::max() : Limits::min();
    if (kind < 3) return static_cast<Integer_>(bits % 9 - 4);
    return static_cast<Integer_>(bits);
  }

  template <typename Real_>
  using WordAs = std::conditional_t<sizeof(Real_) == 4, uint32_t, uint64_t>;

  uint64_t state_;
  bool withSpecials_;
};

}  // namespace zr::test
