// Sorting: the elements in order, and every one of them still there to the bit.
#include "primitives/sorting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <vector>

#include "tests/primitives/random_elements.h"

namespace {

using zr::test::RandomElements;

int32_t Sort(float* s, int32_t n) {
  return ippsSortAscend_32f_I(s, n);
}
int32_t Sort(double* s, int32_t n) {
  return ippsSortAscend_64f_I(s, n);
}

/// The elements' words in a fixed order: by their bytes, as the x87 would quieten a NaN.
template <typename Element>
std::vector<uint64_t> SortedWords(const std::vector<Element>& elements) {
  std::vector<uint64_t> words(elements.size());
  for (std::size_t i = 0; i < elements.size(); ++i)
    std::memcpy(&words[i], &elements[i], sizeof(Element));
  std::sort(words.begin(), words.end());
  return words;
}

template <typename Element>
void ExpectSorted(std::vector<Element> elements, bool hasOrder, const char* name) {
  const auto before = SortedWords(elements);
  EXPECT_EQ(Sort(elements.data(), static_cast<int32_t>(elements.size())), 0);
  EXPECT_EQ(SortedWords(elements), before) << name << " " << elements.size();
  EXPECT_TRUE(!hasOrder || std::is_sorted(elements.begin(), elements.end()))
      << name << " " << elements.size();
}

using Order = std::function<double(int32_t place, int32_t n)>;

template <typename Element>
void ExpectEveryOrderSorted(int32_t n) {
  RandomElements random(static_cast<uint64_t>(n), false);
  const struct {
    const char* name;
    Order order;
  } rows[] = {
      {"sorted", [](int32_t i, int32_t) { return i; }},
      {"reversed", [](int32_t i, int32_t) { return -i; }},
      {"organ pipe", [](int32_t i, int32_t length) { return std::min(i, length - 1 - i); }},
      {"equal", [](int32_t, int32_t) { return 5; }},
      {"two values", [](int32_t i, int32_t) { return i % 2; }},
      {"zeros of both signs", [](int32_t i, int32_t) { return i % 3 == 0 ? 0.0 : -0.0; }},
      {"sawtooth", [](int32_t i, int32_t) { return i % 17; }},
      {"random", [&random](int32_t, int32_t) { return random.Next<double>(); }},
      {"random of few", [&random](int32_t, int32_t) { return random.Bits() % 5; }},
      {"infinities",
       [&random](int32_t, int32_t) { return random.Bits() % 2 == 0 ? INFINITY : -INFINITY; }},
  };
  for (const auto& row : rows) {
    std::vector<Element> elements;
    for (int32_t i = 0; i < n; ++i)
      elements.push_back(static_cast<Element>(row.order(i, n)));
    ExpectSorted(elements, true, row.name);
  }
}

TEST(Sorting, EveryOrderAtEveryLength) {
  for (int32_t n = 1; n < 300; ++n) {
    ExpectEveryOrderSorted<float>(n);
    ExpectEveryOrderSorted<double>(n);
  }
  ExpectEveryOrderSorted<float>(1000000);
  ExpectEveryOrderSorted<double>(1000000);
}

template <typename Element>
void ExpectNanLeavesAllElements() {
  using Word = std::conditional_t<sizeof(Element) == 4, uint32_t, uint64_t>;
  constexpr auto kInfinity = std::bit_cast<Word>(std::numeric_limits<Element>::infinity());
  RandomElements random(8, true);
  for (int32_t n = 1; n < 400; ++n) {
    std::vector<Element> elements;
    for (int32_t i = 0; i < n; ++i)
      elements.push_back(random.Next<Element>());
    // Quiet and signalling ones at every place, at times nothing else.
    for (auto& element : elements) {
      if (random.Bits() % static_cast<uint64_t>(n % 5 + 1) != 0) continue;
      const Word word = kInfinity + static_cast<Word>(random.Bits() % 1000 + 1);
      std::memcpy(&element, &word, sizeof(element));
    }
    ExpectSorted(elements, false, "NaNs");
  }
}

TEST(Sorting, NansLoseNoElement) {
  ExpectNanLeavesAllElements<float>();
  ExpectNanLeavesAllElements<double>();
}

}  // namespace
