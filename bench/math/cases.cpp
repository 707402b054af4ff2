#include "bench/math/cases.h"

#include <stdexcept>
#include <utility>

namespace zr::bench {

// Each range keeps to the domain of its function, and to results that are numbers.
const std::vector<MathCase>& MathCasesOf(const std::string& primitive) {
  static constexpr Range kNone = {0, 0};
  static constexpr Range kAngles = {-100, 100};
  static constexpr Range kLargeAngles = {-0x1p31, 0x1p31};
  static constexpr Range kParts = {-100, 100};
  static const std::vector<MathCase> angles = {{"", kAngles, kNone, 0},
                                               {"/large", kLargeAngles, kNone, 0}};
  // The first that a name begins with is its own. Scaled functions have a way for each size.
  static const std::vector<std::pair<std::string, std::vector<MathCase>>> cases = {
      {"ippsSin", angles},
      {"ippsCos", angles},
      {"ippsTan", angles},
      {"ippsLog10", {{"", {0.001, 1000}, kNone, 0}}},
      {"ippsLn", {{"", {0.001, 1000}, kNone, 0}}},
      {"ippsExp", {{"", {-20, 20}, kNone, 0}}},
      {"ippsMagn", {{"", kParts, kNone, 0}}},
      {"ippsPhase", {{"", kParts, kNone, 0}}},
      {"ippsPowerSpectr_32sc", {{"", {-40000, 40000}, kNone, 4}}},
      {"ippsPowerSpectr", {{"", kParts, kNone, 0}}},
      {"ippsPow", {{"", {0.01, 10}, {-5, 5}, 0}}},
      {"ippsSqrt_16s",
       {{"/scale:4", {0, 32767}, kNone, 4},
        {"/scale:0", {0, 32767}, kNone, 0},
        {"/scale:-3", {0, 32767}, kNone, -3},
        {"/scale:-6", {0, 32767}, kNone, -6}}},
      {"ippsSqrt_64s", {{"/scale:8", {0, 9e18}, kNone, 8}, {"/scale:-8", {0, 9e18}, kNone, -8}}},
      {"ippsSqrt", {{"", {0, 1000}, kNone, 0}}},
      {"ippsTenLogTen", {{"/scale:0", {1, 2e9}, kNone, 0}, {"/scale:-8", {1, 2e9}, kNone, -8}}},
  };
  for (const auto& [stem, itsCases] : cases) {
    if (primitive.starts_with(stem)) return itsCases;
  }
  throw std::logic_error("No case for " + primitive);
}

}  // namespace zr::bench
