// Decimal logarithms, among them two that there are not.
#include <primitives/primitives.h>

#include <cstdio>

int main() {
  const float a[] = {1000.0F, 0.0F, 0.5F, -1.0F, 2.0F};
  float d[5];
  const int32_t status = ippsLog10_32f(a, d, 5);
  for (int32_t i = 0; i < 5; ++i)
    std::printf("log10(%g) = %g\n", static_cast<double>(a[i]), static_cast<double>(d[i]));
  std::printf("%d: %s\n", status, ippsGetStatusString(status));
}
