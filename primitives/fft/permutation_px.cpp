// Bit-reversed order, px build. An index is read as top bit, middle bits, bottom bit: the table
// reverses the middle ones, and the outer two trade places by a fixed pattern.
#include "primitives/fft/permutation.h"

#include "primitives/fft/moved_complex.h"

namespace zr::primitives::px {
namespace {

template <typename Words>
void Exchange(Words* z, int32_t i, int32_t j) {
  const Words words = Load(z, i);
  Store<Words>(z, i, Load(z, j));
  Store<Words>(z, j, words);
}

template <typename Words>
void PermuteInPlace(Words* z, int32_t n, const int32_t* entry) {
  const int32_t half = n / 2;
  for (; *entry != 0; entry += 2) {
    const int32_t a = entry[0] / 2;
    const int32_t b = entry[1] / 2;
    Exchange(z, a, b);
    Exchange(z, a + 1, half + b);
    Exchange(z, half + a, b + 1);
    Exchange(z, half + a + 1, half + b + 1);
  }
  Exchange(z, 1, half);
  for (++entry; *entry != 0; ++entry) {
    const int32_t a = *entry / 2;
    Exchange(z, a + 1, half + a);
  }
}

template <typename Words>
void PermuteApart(const Words* __restrict source, Words* __restrict destination, int32_t n,
                  const int32_t* entry) {
  const int32_t half = n / 2;
  const auto move = [=](int32_t to, int32_t from) {
    Store<Words>(destination, to, Load(source, from));
  };
  const auto moveSelfReversed = [=](int32_t a) {
    move(a, a);
    move(a + 1, half + a);
    move(half + a, a + 1);
    move(half + a + 1, half + a + 1);
  };
  for (; *entry != 0; entry += 2) {
    const int32_t a = entry[0] / 2;
    const int32_t b = entry[1] / 2;
    move(a, b);
    move(a + 1, half + b);
    move(half + a, b + 1);
    move(half + a + 1, half + b + 1);
    move(b, a);
    move(half + b, a + 1);
    move(b + 1, half + a);
    move(half + b + 1, half + a + 1);
  }
  moveSelfReversed(0);
  for (++entry; *entry != 0; ++entry)
    moveSelfReversed(*entry / 2);
}

}  // namespace

template <typename Element>
void FFTPermute(const Element* source, Element* destination, int32_t n,
                const int32_t* bitRevTable) {
  if (source == destination) {
    PermuteInPlace(AsComplexWords(destination), n, bitRevTable);
  } else {
    PermuteApart(AsComplexWords(source), AsComplexWords(destination), n, bitRevTable);
  }
}

template void FFTPermute(const float*, float*, int32_t, const int32_t*);
template void FFTPermute(const double*, double*, int32_t, const int32_t*);

}  // namespace zr::primitives::px
