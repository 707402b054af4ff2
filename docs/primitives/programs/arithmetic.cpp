// For each constant from 1 to 64: the share of quotients, in percent, in which the division by a
// constant departs from the division that rounds once.
#include <primitives/primitives.h>

#include <cstdio>
#include <vector>

int main() {
  constexpr int32_t n = 100'000;
  std::vector<float> a(n);
  std::vector<float> divisor(n);
  std::vector<float> roundedTwice(n);
  std::vector<float> roundedOnce(n);
  uint32_t seed = 1;
  ippsRandUniform_Direct_32f(a.data(), n, 1.0F, 2.0F, &seed);
  for (int c = 1; c <= 64; ++c) {
    const auto constant = static_cast<float>(c);
    ippsDivC_32f(a.data(), constant, roundedTwice.data(), n);
    ippsSet_32f(constant, divisor.data(), n);
    ippsDiv_32f(divisor.data(), a.data(), roundedOnce.data(), n);
    int departures = 0;
    for (int32_t i = 0; i < n; ++i)
      departures += roundedTwice[i] != roundedOnce[i] ? 1 : 0;
    std::printf("%d %.3f\n", c, 100.0 * departures / n);
  }
}
