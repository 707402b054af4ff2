// Levels of integers in decibels: whole ones, and in steps of 1/256.
#include <primitives/primitives.h>

#include <cstdio>
#include <numeric>
#include <vector>

int main() {
  constexpr int32_t n = 100;
  constexpr int32_t kScaleFactor = -8;  // Results times 256.
  std::vector<int32_t> power(n);
  std::iota(power.begin(), power.end(), 1);
  std::vector<int32_t> whole(n);
  std::vector<int32_t> fine(n);
  ippsTenLogTen_32s_Sfs(power.data(), whole.data(), n, 0);
  ippsTenLogTen_32s_Sfs(power.data(), fine.data(), n, kScaleFactor);
  for (int32_t i = 0; i < n; ++i)
    std::printf("%d %d %.6f\n", power[i], whole[i], fine[i] / 256.0);
}
