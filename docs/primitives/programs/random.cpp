// Each number of one call and the number that follows it.
#include <primitives/primitives.h>

#include <cstdio>

int main() {
  constexpr int32_t n = 5000;
  double d[n];
  uint32_t seed = 1;
  ippsRandUniform_Direct_64f(d, n, 0.0, 1.0, &seed);
  for (int32_t i = 1; i < n; ++i)
    std::printf("%.6f %.6f\n", d[i - 1], d[i]);
}
