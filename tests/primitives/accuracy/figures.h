// What a measurement of accuracy gathers.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace zr::test {

/// In units of the last place.
struct Errors {
  double largest = 0;
  double sum = 0;
  uint64_t count = 0;

  void Add(double error) {
    largest = std::max(largest, error);
    sum += error;
    ++count;
  }
  void Add(const Errors& other) {
    largest = std::max(largest, other.largest);
    sum += other.sum;
    count += other.count;
  }
  [[nodiscard]] double Mean() const { return sum / static_cast<double>(count); }
};

struct Figures {
  static constexpr int kLowestExponent = -1075;  ///< Stands for 0.
  static constexpr int kHighestExponent = 1024;  ///< Stands for infinities.
  static constexpr int kExponents = kHighestExponent - kLowestExponent + 1;

  Errors all;
  double worst[2] = {};        ///< The arguments of the largest error.
  uint64_t notNearest = 0;     ///< Results other than the nearest number.
  uint64_t wrongSpecials = 0;  ///< A NaN or an infinity on one side only.
  uint64_t notAllowed = 0;     ///< Errors that the method does not allow.
  double referenceError = 0;   ///< Of the reference against MPFR, relative.
  /// By the sign and the exponent of what is on the axis.
  std::vector<Errors> binades[2] = {std::vector<Errors>(kExponents),
                                    std::vector<Errors>(kExponents)};

  Errors& Binade(double place) {
    const int exponent =
        place == 0.0 ? kLowestExponent : std::min(std::ilogb(place), kHighestExponent);
    return binades[std::signbit(place) ? 1 : 0]
                  [static_cast<std::size_t>(exponent - kLowestExponent)];
  }

  void Add(const Figures& other) {
    if (other.all.largest > all.largest) std::copy_n(other.worst, 2, worst);
    all.Add(other.all);
    notNearest += other.notNearest;
    wrongSpecials += other.wrongSpecials;
    notAllowed += other.notAllowed;
    referenceError = std::max(referenceError, other.referenceError);
    for (int sign = 0; sign < 2; ++sign)
      for (std::size_t i = 0; i < binades[sign].size(); ++i)
        binades[sign][i].Add(other.binades[sign][i]);
  }
};

}  // namespace zr::test
