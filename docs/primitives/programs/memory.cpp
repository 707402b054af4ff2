// A window of the last six samples over blocks of two: what stays moves up, the block comes behind.
#include <primitives/primitives.h>

#include <cstdio>

int main() {
  constexpr int32_t kWindow = 6;
  constexpr int32_t kBlock = 2;
  int16_t* window = ippsMalloc_16s(kWindow);
  if (window == nullptr) return 1;
  ippsZero_16s(window, kWindow);

  for (int16_t first = 1; first < 9; first += kBlock) {
    const int16_t block[kBlock] = {first, static_cast<int16_t>(first + 1)};
    ippsMove_16s(window + kBlock, window, kWindow - kBlock);
    ippsCopy_16s(block, window + kWindow - kBlock, kBlock);
    for (int32_t i = 0; i < kWindow; ++i)
      std::printf("%3d", window[i]);
    std::puts("");
  }
  ippsFree(window);
}
