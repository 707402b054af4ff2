// Numbers with many bits behind the point, for tables that are computed while compiling. All is
// integer arithmetic, so that every compiler finds the same bits, whatever its doubles are like. A
// result is below the true one by a few units of its last bit.
//
// Sizes are chosen so that no table takes more steps than compilers allow a constant by default.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace zr::primitives {

/// A number of [0, 2^32): 32 bits before the point, 32 * (kSize - 1) behind it.
template <std::size_t kSize>
struct FixedPoint {
  static constexpr int32_t kFractionBits = 32 * (kSize - 1);

  uint32_t limbs[kSize] = {};  // The lowest first.

  /// The quotient of two integers. divisor is not 0.
  static constexpr FixedPoint Ratio(uint32_t dividend, uint32_t divisor) {
    FixedPoint ratio;
    ratio.limbs[kSize - 1] = dividend;
    return ratio.DividedBy(divisor);
  }

  constexpr bool IsZero() const {
    for (const uint32_t limb : limbs)
      if (limb != 0) return false;
    return true;
  }
  /// The 32 bits from bit i up. Below bit 0 and above the highest one all are 0.
  constexpr uint32_t BitsFrom(int32_t i) const {
    const auto limb = [this](int32_t k) -> uint64_t {
      return k >= 0 && k < static_cast<int32_t>(kSize) ? limbs[k] : 0;
    };
    return static_cast<uint32_t>((limb((i >> 5) + 1) << 32 | limb(i >> 5)) >> (i & 31));
  }
  /// -1 for 0.
  constexpr int32_t HighestBit() const {
    for (int32_t i = kSize; i-- > 0;)
      if (limbs[i] != 0) return 32 * i + 31 - std::countl_zero(limbs[i]);
    return -1;
  }

  constexpr FixedPoint operator+(const FixedPoint& other) const {
    FixedPoint sum;
    uint64_t carry = 0;
    for (std::size_t i = 0; i < kSize; ++i) {
      carry += uint64_t{limbs[i]} + other.limbs[i];
      sum.limbs[i] = static_cast<uint32_t>(carry);
      carry >>= 32;
    }
    return sum;
  }
  /// Modulo 2^32 where other is the larger one.
  constexpr FixedPoint operator-(const FixedPoint& other) const {
    FixedPoint difference;
    uint64_t borrow = 0;
    for (std::size_t i = 0; i < kSize; ++i) {
      const uint64_t limb = uint64_t{limbs[i]} - other.limbs[i] - borrow;
      difference.limbs[i] = static_cast<uint32_t>(limb);
      borrow = limb >> 63;
    }
    return difference;
  }
  constexpr FixedPoint operator*(const FixedPoint& other) const {
    uint32_t product[2 * kSize] = {};
    for (std::size_t i = 0; i < kSize; ++i) {
      uint64_t carry = 0;
      for (std::size_t j = 0; j < kSize; ++j) {
        carry += product[i + j] + uint64_t{limbs[i]} * other.limbs[j];
        product[i + j] = static_cast<uint32_t>(carry);
        carry >>= 32;
      }
      product[i + kSize] = static_cast<uint32_t>(carry);
    }
    FixedPoint result;
    for (std::size_t i = 0; i < kSize; ++i)
      result.limbs[i] = product[i + kSize - 1];
    return result;
  }
  constexpr FixedPoint Times(uint32_t factor) const {
    FixedPoint product;
    uint64_t carry = 0;
    for (std::size_t i = 0; i < kSize; ++i) {
      carry += uint64_t{limbs[i]} * factor;
      product.limbs[i] = static_cast<uint32_t>(carry);
      carry >>= 32;
    }
    return product;
  }
  constexpr FixedPoint DividedBy(uint32_t divisor) const {
    FixedPoint quotient;
    uint64_t rest = 0;
    for (std::size_t i = kSize; i-- > 0;) {
      rest = rest << 32 | limbs[i];
      quotient.limbs[i] = static_cast<uint32_t>(rest / divisor);
      rest %= divisor;
    }
    return quotient;
  }
  constexpr bool IsBelow(const FixedPoint& other) const {
    for (std::size_t i = kSize; i-- > 0;)
      if (limbs[i] != other.limbs[i]) return limbs[i] < other.limbs[i];
    return false;
  }

  /// The bits below bit i set to 0.
  constexpr FixedPoint CutBelow(int32_t i) const {
    FixedPoint cut = *this;
    for (int32_t limb = 0; limb < i / 32; ++limb)
      cut.limbs[limb] = 0;
    if (i > 0) cut.limbs[i / 32] &= ~uint32_t{0} << (i % 32);
    return cut;
  }
  /// The nearest number without bits below bit i.
  constexpr FixedPoint RoundedAt(int32_t i) const {
    if (i < 1) return *this;
    FixedPoint half;
    half.limbs[(i - 1) / 32] = uint32_t{1} << ((i - 1) % 32);
    return (*this + half).CutBelow(i);
  }
  /// The nearest double.
  constexpr double ToDouble() const {
    const FixedPoint rounded = RoundedAt(HighestBit() - 52);
    const int32_t highest = rounded.HighestBit();
    if (highest < 0) return 0.0;
    const uint64_t significand =
        uint64_t{rounded.BitsFrom(highest - 20)} << 32 | rounded.BitsFrom(highest - 52);
    const auto exponent = static_cast<uint64_t>(1023 + highest - kFractionBits);
    return std::bit_cast<double>((exponent << 52) | (significand & 0xfffffffffffff));
  }
};

/// A number as the sum of two doubles.
struct DoubleLength {
  double head;
  double tail;
};

/// number, of which `head` is a part that a double holds.
template <std::size_t kSize>
constexpr DoubleLength Split(const FixedPoint<kSize>& number, const FixedPoint<kSize>& head) {
  if (number.IsBelow(head)) return {head.ToDouble(), -(head - number).ToDouble()};
  return {head.ToDouble(), (number - head).ToDouble()};
}
/// The nearest double and what is missing.
template <std::size_t kSize>
constexpr DoubleLength SplitAtDouble(const FixedPoint<kSize>& number) {
  return Split(number, number.RoundedAt(number.HighestBit() - 52));
}
/// A head of so many bits, cut off, and what is missing.
template <std::size_t kSize>
constexpr DoubleLength SplitAtBits(const FixedPoint<kSize>& number, int32_t bits) {
  return Split(number, number.CutBelow(number.HighestBit() - (bits - 1)));
}
constexpr DoubleLength Negated(DoubleLength number) {
  return {-number.head, -number.tail};
}

/// 1 / number, for numbers in [1/2, 4).
template <std::size_t kSize>
constexpr FixedPoint<kSize> Reciprocal(const FixedPoint<kSize>& number) {
  using Number = FixedPoint<kSize>;
  // Newton's method squares the relative error, which is 7/8 at most with 1/4: after turns that
  // make it the power of 6 * bits it is below 2^-bits.
  Number reciprocal = Number::Ratio(1, 4);
  for (int32_t power = 1; power < 6 * Number::kFractionBits; power *= 2)
    reciprocal = reciprocal * (Number::Ratio(2, 1) - number * reciprocal);
  return reciprocal;
}

/// ln(dividend / divisor), for 0 < divisor <= dividend and a sum of the two below 2^32: twice the
/// area tangent of (dividend - divisor) / (dividend + divisor).
template <std::size_t kSize>
constexpr FixedPoint<kSize> LogarithmOfRatio(uint32_t dividend, uint32_t divisor) {
  const uint32_t difference = dividend - divisor;
  const uint32_t sum = dividend + divisor;
  auto power = FixedPoint<kSize>::Ratio(difference, sum);
  FixedPoint<kSize> logarithm;
  for (uint32_t k = 1; !power.IsZero(); k += 2) {
    logarithm = logarithm + power.DividedBy(k);
    power = power.Times(difference).DividedBy(sum).Times(difference).DividedBy(sum);
  }
  return logarithm.Times(2);
}

/// e to the power x, for x below 8.
template <std::size_t kSize>
constexpr FixedPoint<kSize> Exponential(const FixedPoint<kSize>& x) {
  FixedPoint<kSize> exponential;
  auto term = FixedPoint<kSize>::Ratio(1, 1);
  for (uint32_t k = 1; !term.IsZero(); ++k) {
    exponential = exponential + term;
    term = (term * x).DividedBy(k);
  }
  return exponential;
}

/// arctan(1 / n), for n > 1.
template <std::size_t kSize>
constexpr FixedPoint<kSize> ArcTangentOfReciprocal(uint32_t n) {
  FixedPoint<kSize> positive;
  FixedPoint<kSize> negative;
  auto power = FixedPoint<kSize>::Ratio(1, n);
  for (uint32_t k = 1; !power.IsZero(); k += 2) {
    const FixedPoint<kSize> term = power.DividedBy(k);
    (k % 4 == 1 ? positive : negative) = (k % 4 == 1 ? positive : negative) + term;
    power = power.DividedBy(n).DividedBy(n);
  }
  return positive - negative;
}

/// Pi, by Machin's formula.
template <std::size_t kSize>
constexpr FixedPoint<kSize> Pi() {
  return ArcTangentOfReciprocal<kSize>(5).Times(16) - ArcTangentOfReciprocal<kSize>(239).Times(4);
}

}  // namespace zr::primitives
