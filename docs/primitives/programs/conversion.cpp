// What numbers between -3 and 3 become as integers: rounded, truncated, and rounded with a scale
// factor of -1.
#include <primitives/primitives.h>

#include <cstdio>

int main() {
  constexpr int32_t n = 601;
  constexpr int32_t kTruncate = 0;
  constexpr int32_t kRoundToNearest = 1;
  float a[n];
  int16_t rounded[n];
  int16_t truncated[n];
  int16_t scaled[n];
  for (int32_t i = 0; i < n; ++i)
    a[i] = static_cast<float>(i - 300) / 100.0F;
  ippsConvert_32f16s_Sfs(a, rounded, n, kRoundToNearest, 0);
  ippsConvert_32f16s_Sfs(a, truncated, n, kTruncate, 0);
  ippsConvert_32f16s_Sfs(a, scaled, n, kRoundToNearest, -1);
  for (int32_t i = 0; i < n; ++i)
    std::printf("%.2f %d %d %d\n", static_cast<double>(a[i]), rounded[i], truncated[i], scaled[i]);
}
