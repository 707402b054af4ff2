// What the mathematical functions are measured with.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace zr::bench {

struct Range {
  double low;
  double high;
};

struct MathCase {
  std::string suffix;  ///< Of the row's name, where a function has more than one.
  Range a;             ///< Of a vector in place, too.
  Range b;
  int32_t scaleFactor;
};

const std::vector<MathCase>& MathCasesOf(const std::string& primitive);

/// The parts of complex elements each by themselves.
template <typename Element>
void FillUniformly(Element* vector, int32_t length, Range range) {
  if constexpr (std::is_arithmetic_v<Element>) {
    std::mt19937 random;
    std::uniform_real_distribution<double> distribution(range.low, range.high);
    for (int32_t i = 0; i < length; ++i) {
      vector[i] = static_cast<Element>(distribution(random));
    }
  } else {
    FillUniformly(&vector->re, 2 * length, range);
  }
}

}  // namespace zr::bench
