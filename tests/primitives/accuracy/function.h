// The functions whose accuracy is measured: how each is called, what it should give, and how far
// from that it may be.
#pragma once

#include <cstdint>
#include <span>

#include "tests/primitives/accuracy/exact.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

/// What a plot has on its axis.
enum class Axis { kFirst, kSecond, kResult };

template <typename Element>
struct Function {
  const char* name;
  void (*call)(const Element* x, const Element* y, Element* result, int32_t n);
  /// Fills one pair of arguments. Null for a function of one float, which takes all floats.
  void (*fill)(RandomElements* random, Element* x, Element* y);
  /// In double precision, right to two of its last places; null for functions of doubles.
  double (*reference)(double x, double y);
  Exact::Function exact;
  Axis axis;
  /// What the errors, in units of the last place, and the share of results that are not the nearest
  /// number must not exceed.
  double largest;
  double mean;
  double notNearest;
  /// Where the error that the method allows depends on the arguments; else null.
  double (*allowed)(double x, double y) = nullptr;
};

std::span<const Function<float>> FunctionsOfFloats();
std::span<const Function<double>> FunctionsOfDoubles();

}  // namespace zr::test
