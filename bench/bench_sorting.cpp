// Sorting against the standard library's, and the median filter against a median of each window by
// itself. The elements are random, and others in each call: a processor learns the comparisons of a
// short vector by heart.
#include <algorithm>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "bench/rows.h"
#include "primitives/sorting.h"

namespace zr::bench {
namespace {

constexpr int32_t kMost = 1'000'000;

template <typename Element>
const std::vector<Element>& RandomElements() {
  static const std::vector<Element> elements = [] {
    std::mt19937 random;
    std::uniform_real_distribution<double> distribution(-32768.0, 32768.0);
    std::vector<Element> made(kMost);
    std::ranges::generate(made, [&] { return static_cast<Element>(distribution(random)); });
    return made;
  }();
  return elements;
}

/// Runs of the random elements, one after the other.
template <typename Element>
class Runs {
 public:
  explicit Runs(int32_t length) : length_(static_cast<std::size_t>(length)) {}

  std::span<const Element> Next() {
    const std::span all(RandomElements<Element>());
    if (next_ + length_ > all.size()) next_ = 0;
    const auto run = all.subspan(next_, length_);
    next_ += length_;
    return run;
  }

 private:
  std::size_t length_;
  std::size_t next_ = 0;
};

template <typename Element, typename Sort>
void RegisterSort(const std::string& name, int32_t length, const char* contender, Sort sort) {
  Register(name + "/" + std::to_string(length), contender, [=](benchmark::State& state) {
    Runs<Element> runs(length);
    const auto run = runs.Next();
    std::vector<Element> sorted(run.begin(), run.end());
    std::vector<Element> expected = sorted;
    std::ranges::make_heap(expected);
    std::ranges::sort_heap(expected);
    sort(sorted);
    if (sorted != expected) return state.SkipWithError("Not sorted");
    Measure(state, length, 2 * sizeof(Element), [&] {
      std::ranges::copy(runs.Next(), sorted.begin());
      sort(sorted);
    });
  });
}

template <typename Element>
void RegisterSorts(const std::string& name, int32_t (*ours)(Element*, int32_t)) {
  for (const int32_t length : {1000, kMost}) {
    RegisterSort<Element>(name, length, "ours",
                          [=](std::vector<Element>& elements) { ours(elements.data(), length); });
    RegisterSort<Element>(name, length, "std::sort",
                          [](std::vector<Element>& elements) { std::ranges::sort(elements); });
  }
}

int32_t FilterEachWindow(const int16_t* a, int16_t* d, int32_t n, int32_t maskSize) {
  std::vector<int16_t> window(static_cast<std::size_t>(maskSize));
  const auto middle = window.begin() + maskSize / 2;
  d[0] = a[0];
  for (int32_t i = 1; i < n - 1; ++i) {
    for (int32_t k = 0; k < maskSize; ++k) {
      window[static_cast<std::size_t>(k)] = a[std::clamp(i - maskSize / 2 + k, 0, n - 1)];
    }
    std::nth_element(window.begin(), middle, window.end());
    d[i] = *middle;
  }
  d[n - 1] = a[n - 1];
  return 0;
}

using MedianFilter = int32_t (*)(const int16_t*, int16_t*, int32_t, int32_t);

void RegisterMedian(int32_t maskSize, const char* contender, MedianFilter filter,
                    MedianFilter other) {
  const std::string name = "ippsFilterMedian_16s/mask:" + std::to_string(maskSize);
  Register(name, contender, [=](benchmark::State& state) {
    constexpr int32_t kLength = 10'000;
    Runs<int16_t> runs(kLength);
    std::vector<int16_t> filtered(kLength);
    std::vector<int16_t> expected(kLength);
    const auto run = runs.Next();
    filter(run.data(), filtered.data(), kLength, maskSize);
    other(run.data(), expected.data(), kLength, maskSize);
    if (filtered != expected) return state.SkipWithError("Not the other contender's medians");
    Measure(state, kLength, 2 * sizeof(int16_t),
            [&] { filter(runs.Next().data(), filtered.data(), kLength, maskSize); });
  });
}

[[maybe_unused]] const bool kAreRowsRegistered = [] {
  RegisterSorts("ippsSortAscend_32f_I", &::ippsSortAscend_32f_I);
  RegisterSorts("ippsSortAscend_64f_I", &::ippsSortAscend_64f_I);
  for (const int32_t maskSize : {3, 5, 31, 99}) {
    RegisterMedian(maskSize, "ours", &::ippsFilterMedian_16s, &FilterEachWindow);
    RegisterMedian(maskSize, "nth_element", &FilterEachWindow, &::ippsFilterMedian_16s);
  }
  return true;
}();

}  // namespace
}  // namespace zr::bench
