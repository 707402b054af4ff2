// The relative error of a sum of n numbers between 0 and 1: of ippsSum_32f, and of a sum that is
// kept in single precision.
#include <primitives/primitives.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main() {
  constexpr int32_t kLongest = 1 << 24;
  std::vector<float> a(kLongest);
  uint32_t seed = 1;
  ippsRandUniform_Direct_32f(a.data(), kLongest, 0.0F, 1.0F, &seed);
  for (int32_t n = 1 << 6; n <= kLongest; n *= 2) {
    long double exact = 0.0L;
    float plain = 0.0F;
    for (int32_t i = 0; i < n; ++i) {
      exact += a[i];
      plain += a[i];
    }
    float sum = 0.0F;
    ippsSum_32f(a.data(), n, &sum, 0);
    std::printf("%d %.3Le %.3Le\n", n, std::fabs(sum - exact) / exact,
                std::fabs(plain - exact) / exact);
  }
}
