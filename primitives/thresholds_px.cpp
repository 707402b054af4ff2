// Thresholds, px build. Elements and what replaces them are moved bit by bit.
#include <bit>
#include <type_traits>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_words.h"
#include "primitives/moved_elements.h"

namespace zr::primitives::px {
namespace {

/// IsKept and IsBeyond part at an element that equals the level: it has the level's bits already,
/// but for a zero.
struct LessThan {
  template <typename Element>
  static bool IsKept(Element element, Element level) {
    return element > level;
  }
  template <typename Element>
  static bool IsBeyond(Element element, Element level) {
    return !(element >= level);
  }
};

struct GreaterThan {
  template <typename Element>
  static bool IsKept(Element element, Element level) {
    return !(element >= level);
  }
  template <typename Element>
  static bool IsBeyond(Element element, Element level) {
    return element > level;
  }
};

template <typename Rule, typename Element>
int32_t Limit(const Element* a, Element* d, int32_t n, const Element& level) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  const Element limit = level;
  const Moved<Element> movedLevel = LoadMoved(&level);
  for (int32_t i = 0; i < n; ++i) {
    const Moved<Element> moved = LoadMoved(a + i);
    StoreMoved(d + i, Rule::IsKept(std::bit_cast<Element>(moved), limit) ? moved : movedLevel);
  }
  return kStatusOk;
}

template <typename Rule, typename Element>
int32_t LimitInPlace(Element* s, int32_t n, const Element& level) {
  if (const int32_t status = CheckArguments(n, 1, s)) return status;
  const Element limit = level;
  const WordOf<Element> levelWord = LoadWord(&level);
  if (std::is_floating_point_v<Element> && limit == 0) {
    for (int32_t i = 0; i < n; ++i) {
      const WordOf<Element> word = LoadWord(s + i);
      const bool isKept = Rule::IsKept(std::bit_cast<Element>(word), limit);
      if (!isKept && word != levelWord) StoreWord(s + i, levelWord);
    }
    return kStatusOk;
  }
  for (int32_t i = 0; i < n; ++i) {
    const auto element = std::bit_cast<Element>(LoadWord(s + i));
    if (Rule::IsBeyond(element, limit)) [[unlikely]]
      StoreWord(s + i, levelWord);
  }
  return kStatusOk;
}

template <typename Element>
int32_t CheckBounds(int32_t n, Element levelLow, Element levelHigh, const Element* a,
                    const Element* d) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  return levelLow > levelHigh ? kStatusThresholdBounds : kStatusOk;
}

template <typename Element>
int32_t ReplaceInPlace(Element* s, int32_t n, Element levelLow, const Element& valueLow,
                       Element levelHigh, const Element& valueHigh) {
  if (const int32_t status = CheckBounds(n, levelLow, levelHigh, s, s)) return status;
  const WordOf<Element> wordLow = LoadWord(&valueLow);
  const WordOf<Element> wordHigh = LoadWord(&valueHigh);
  for (int32_t i = 0; i < n; ++i) {
    const auto element = std::bit_cast<Element>(LoadWord(s + i));
    const bool isBelow = !(element >= levelLow);
    const bool isAbove = element > levelHigh;
    if (isBelow || isAbove) [[unlikely]]
      StoreWord(s + i, isBelow ? wordLow : wordHigh);
  }
  return kStatusOk;
}

}  // namespace

int32_t ippsThreshold_LT_32f(const float* a, float* d, int32_t n, float level) {
  return Limit<LessThan>(a, d, n, level);
}
int32_t ippsThreshold_LT_64f(const double* a, double* d, int32_t n, double level) {
  return Limit<LessThan>(a, d, n, level);
}
int32_t ippsThreshold_LT_32f_I(float* s, int32_t n, float level) {
  return LimitInPlace<LessThan>(s, n, level);
}
int32_t ippsThreshold_LT_64f_I(double* s, int32_t n, double level) {
  return LimitInPlace<LessThan>(s, n, level);
}
int32_t ippsThreshold_LT_32s_I(int32_t* s, int32_t n, int32_t level) {
  return LimitInPlace<LessThan>(s, n, level);
}

int32_t ippsThreshold_GT_64f(const double* a, double* d, int32_t n, double level) {
  return Limit<GreaterThan>(a, d, n, level);
}
int32_t ippsThreshold_GT_32f_I(float* s, int32_t n, float level) {
  return LimitInPlace<GreaterThan>(s, n, level);
}
int32_t ippsThreshold_GT_64f_I(double* s, int32_t n, double level) {
  return LimitInPlace<GreaterThan>(s, n, level);
}

int32_t ippsThreshold_LTValGTVal_64f(const double* a, double* d, int32_t n, double levelLow,
                                     double valueLow, double levelHigh, double valueHigh) {
  if (const int32_t status = CheckBounds(n, levelLow, levelHigh, a, d)) return status;
  // Between three choices the compiler makes a vector loop of words only.
  const uint64_t wordLow = LoadWord(&valueLow);
  const uint64_t wordHigh = LoadWord(&valueHigh);
  for (int32_t i = 0; i < n; ++i) {
    const uint64_t word = LoadWord(a + i);
    const auto element = std::bit_cast<double>(word);
    const uint64_t ifNotBelow = element > levelHigh ? wordHigh : word;
    StoreWord(d + i, element >= levelLow ? ifNotBelow : wordLow);
  }
  return kStatusOk;
}
int32_t ippsThreshold_LTValGTVal_32f_I(float* s, int32_t n, float levelLow, float valueLow,
                                       float levelHigh, float valueHigh) {
  return ReplaceInPlace(s, n, levelLow, valueLow, levelHigh, valueHigh);
}
int32_t ippsThreshold_LTValGTVal_64f_I(double* s, int32_t n, double levelLow, double valueLow,
                                       double levelHigh, double valueHigh) {
  return ReplaceInPlace(s, n, levelLow, valueLow, levelHigh, valueHigh);
}

}  // namespace zr::primitives::px
