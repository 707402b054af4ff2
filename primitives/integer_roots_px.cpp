// Square roots of integers, px build. An estimate, from a table or in double precision, is
// corrected by comparing squares of integers, so that the exact root decides every rounding.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"

namespace zr::primitives::px {
namespace {

constexpr int32_t kHighest16 = std::numeric_limits<int16_t>::max();
constexpr int64_t kHighest64 = std::numeric_limits<int64_t>::max();
constexpr uint64_t kHighestHalf = 0xffffffff;

/// The rounded root of x >= 0, found from a first guess below it: r^2 + r is the largest square
/// that rounds to r.
constexpr int32_t RoundedRootFrom(int32_t guess, int32_t x) {
  while (x > guess * guess + guess) {
    ++guess;
  }
  return guess;
}

/// The rounded roots of 0, 2^shift, 2 * 2^shift and so on.
template <std::size_t kCount>
constexpr std::array<uint8_t, kCount> RootsOfMultiples(int32_t shift) {
  std::array<uint8_t, kCount> roots{};
  for (std::size_t i = 0; i < kCount; ++i) {
    roots[i] = static_cast<uint8_t>(RoundedRootFrom(0, static_cast<int32_t>(i) << shift));
  }
  return roots;
}

constexpr auto kRoots = RootsOfMultiples<32>(0);
constexpr auto kRootsBySixteens = RootsOfMultiples<256>(4);
constexpr auto kRootsByHighByte = RootsOfMultiples<128>(8);

/// The rounded root, of 16-bit elements as of all below.
int32_t RoundedRoot(int32_t x) {
  if (x < 32) return kRoots[static_cast<std::size_t>(x)];
  const auto place = static_cast<std::size_t>(x);
  return RoundedRootFrom(x < 4096 ? kRootsBySixteens[place >> 4] : kRootsByHighByte[place >> 8], x);
}

/// sqrt(x) * 2^-shift, rounded, ties to even, for shifts from 1 to 8.
int32_t RootShiftedRight(int32_t x, int32_t shift) {
  const int32_t root = RoundedRoot(x >> 2 * shift);
  const int32_t midpoint = (root << shift) + (1 << (shift - 1));
  const int32_t square = midpoint * midpoint;
  return root + (square < x || (square == x && root % 2 != 0) ? 1 : 0);
}

/// sqrt(x) * 2^shift, rounded, by integers alone. There are no ties, as the square of a midpoint is
/// no integer.
int32_t RootShiftedLeft(int32_t x, int32_t shift) {
  const int32_t rounded = RoundedRoot(x);
  const int32_t shifted = x << 2 * shift;
  int32_t root = (rounded * rounded > x ? rounded - 1 : rounded) << shift;
  for (int32_t bit = 1 << shift >> 1; bit != 0; bit >>= 1) {
    if ((root + bit) * (root + bit) <= shifted) root += bit;
  }
  return root + (shifted > root * (root + 1) ? 1 : 0);
}

/// sqrt(x) * 2^shift, rounded and saturated, for shifts up to 14: a double decides right, as the
/// root of an integer below 2^30 keeps its distance from midpoints.
int32_t RootShiftedFarLeft(int32_t x, int32_t shift) {
  if (x >= 1 << 30 >> 2 * shift) return kHighest16;
  const double root = std::sqrt(static_cast<double>(x << 2 * shift));
  const double aboveByHalf = root + 0.5;
  return static_cast<int32_t>(aboveByHalf);
}

/// The integer part of (integer + fraction * 2^-32)^2, for integer and fraction below 2^32.
uint64_t IntegerPartOfSquare(uint64_t integer, uint64_t fraction) {
  return integer * integer + (((fraction * fraction >> 33) + integer * fraction) >> 31);
}

/// sqrt(x) * 2^-shift, rounded, ties to even, for shifts from 1 to 32.
int64_t RootShiftedRight(int64_t x, int32_t shift) {
  // Rounded up to the next integer or not: the root stays on its side of every midpoint.
  const uint64_t root = static_cast<uint64_t>(std::sqrt(static_cast<double>(x))) >> shift;
  const uint64_t midpoint = (root << shift) + (uint64_t{1} << (shift - 1));
  const uint64_t square = midpoint * midpoint;
  const auto element = static_cast<uint64_t>(x);
  const bool isUp = square < element || (square == element && root % 2 != 0);
  return static_cast<int64_t>(root + (isUp ? 1 : 0));
}

/// sqrt(x) * 2^shift, rounded and saturated, for shifts from 0 to 62: an integer and a fraction of
/// 32 bits, each estimated and then corrected. What goes beyond 31 fraction bits of the result
/// stands in the square from the start.
int64_t RootShiftedLeft(int64_t x, int32_t shift) {
  if (x == 0) return 0;
  if (shift > 31 && x > kHighest64 >> (2 * shift - 63)) return kHighest64;
  const int32_t fractionBits = std::min(shift, 31);
  const uint64_t square = static_cast<uint64_t>(x) << 2 * (shift - fractionBits);
  const double root = std::sqrt(static_cast<double>(square));

  auto integer = std::min(static_cast<uint64_t>(root), kHighestHalf);
  while (integer * integer > square) {
    --integer;
  }
  const auto rest = static_cast<double>(square - integer * integer);
  const double estimate = rest / (root + static_cast<double>(integer)) * 0x1p32;
  auto fraction = std::min(static_cast<uint64_t>(estimate), kHighestHalf);
  while (fraction > 0 && IntegerPartOfSquare(integer, fraction) >= square) {
    --fraction;
  }
  while (fraction < kHighestHalf && IntegerPartOfSquare(integer, fraction + 1) < square) {
    ++fraction;
  }
  const uint64_t withRoundingBit = (integer << 32 | fraction) >> (31 - fractionBits);
  return static_cast<int64_t>((withRoundingBit >> 1) + (withRoundingBit & 1));
}

template <typename Root, typename Element>
int32_t ForEachRoot(Root root, const Element* a, Element* d, int32_t n) {
  int32_t warning = kStatusOk;
  const auto operation = [&warning, root](Element x) {
    if (x >= 0) return static_cast<Element>(root(x));
    warning = kStatusNegativeSqrt;
    return Element{0};
  };
  const int32_t status = ForEachElement(operation, d, n, a);
  return status != kStatusOk ? status : warning;
}

}  // namespace

int32_t ippsSqrt_16s_ISfs(int16_t* s, int32_t n, int32_t scaleFactor) {
  using Word = int32_t;
  if (scaleFactor > 8) return ForEachRoot([](Word) { return 0; }, s, s, n);
  if (scaleFactor < -14) return ForEachRoot([](Word x) { return x > 0 ? kHighest16 : 0; }, s, s, n);
  if (scaleFactor > 0) {
    return ForEachRoot([scaleFactor](Word x) { return RootShiftedRight(x, scaleFactor); }, s, s, n);
  }
  if (scaleFactor == 0) return ForEachRoot([](Word x) { return RoundedRoot(x); }, s, s, n);
  const int32_t shift = -scaleFactor;
  if (shift > 3) {
    return ForEachRoot([shift](Word x) { return RootShiftedFarLeft(x, shift); }, s, s, n);
  }
  return ForEachRoot([shift](Word x) { return RootShiftedLeft(x, shift); }, s, s, n);
}

int32_t ippsSqrt_64s_Sfs(const int64_t* a, int64_t* d, int32_t n, int32_t scaleFactor) {
  using Word = int64_t;
  if (scaleFactor > 32) return ForEachRoot([](Word) { return Word{0}; }, a, d, n);
  if (scaleFactor < -62) {
    return ForEachRoot([](Word x) { return x > 0 ? kHighest64 : 0; }, a, d, n);
  }
  if (scaleFactor > 0) {
    return ForEachRoot([scaleFactor](Word x) { return RootShiftedRight(x, scaleFactor); }, a, d, n);
  }
  const int32_t shift = -scaleFactor;
  return ForEachRoot([shift](Word x) { return RootShiftedLeft(x, shift); }, a, d, n);
}

}  // namespace zr::primitives::px
