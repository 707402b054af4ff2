// The direct kernel, px build: radix-4 passes, behind the first one a radix-2 pass where the order
// is odd. Each number is rounded when a pass stores it.
#include "primitives/fft/direct_kernel.h"

#include <cstddef>

namespace zr::primitives::px {
namespace {

// Of the numbers at z0 to z3, already turned to t0 to t3 and in bit-reversed order: hence the
// middle two trade roles.
template <Direction kDirection, typename Element>
inline void Butterfly(Element* z0, Element* z1, Element* z2, Element* z3, WideComplex<Element> t0,
                      WideComplex<Element> t1, WideComplex<Element> t2, WideComplex<Element> t3) {
  const auto p = t0 + t1;
  const auto m = t0 - t1;
  const auto s = t2 + t3;
  const auto d = QuarterTurn<kDirection>(t2 - t3);
  StoreComplex(z0, 0, p + s);
  StoreComplex(z1, 0, m + d);
  StoreComplex(z2, 0, p - s);
  StoreComplex(z3, 0, m - d);
}

template <Direction kDirection, typename Element>
inline void UnturnedButterfly(Element* z0, Element* z1, Element* z2, Element* z3) {
  Butterfly<kDirection>(z0, z1, z2, z3, LoadComplex(z0, 0), LoadComplex(z1, 0), LoadComplex(z2, 0),
                        LoadComplex(z3, 0));
}

template <typename Element>
inline void RadixTwoButterfly(Element* z, int32_t k, WideComplex<Element> turned) {
  const auto unturned = LoadComplex(z, k);
  StoreComplex(z, k + 4, unturned - turned);
  StoreComplex(z, k, unturned + turned);
}

// Over groups of eight; c is the cosine of an eighth of a turn.
template <Direction kDirection, typename Element>
void RadixTwoPass(Element* z, int32_t total, Wide<Element> c) {
  const WideComplex<Element> eighth = {c, -c};
  const WideComplex<Element> threeEighths = {-c, -c};
  for (int32_t i = 0; i < total; i += 8) {
    Element* const group = z + 2 * i;
    RadixTwoButterfly(group, 0, LoadComplex(group, 4));
    RadixTwoButterfly(group, 1, Turn<kDirection>(LoadComplex(group, 5), eighth));
    RadixTwoButterfly(group, 2, QuarterTurn<kDirection>(LoadComplex(group, 6)));
    RadixTwoButterfly(group, 3, Turn<kDirection>(LoadComplex(group, 7), threeEighths));
  }
}

// Over groups of four neighbouring blocks of q numbers. Number k of the blocks of all groups comes
// before number k + 1, so that the roots stay in registers. The first pass, q = 1, has no loop of
// its own: with a distance known to it the compiler would take groups apart to work on several at
// once, which costs more than it saves.
template <Direction kDirection, typename Element>
void RadixFourPass(Element* z, int32_t total, int32_t n, int32_t q, const Element* twiddles) {
  for (int32_t i = 0; i < total; i += 4 * q) {
    Element* const group = z + 2 * i;
    UnturnedButterfly<kDirection>(group, group + 2 * q, group + 4 * q, group + 6 * q);
  }
  const int32_t rowStep = n / (4 * q);
  const std::ptrdiff_t far = 2 * std::ptrdiff_t{q};
  for (int32_t k = 1; k < q; ++k) {
    const Element* const row = twiddles + 6 * k * rowStep;
    const auto w1 = LoadComplex(row, 0);
    const auto w2 = LoadComplex(row, 1);
    const auto w3 = LoadComplex(row, 2);
    for (int32_t i = k; i < total; i += 4 * q) {
      Element* const z0 = z + 2 * i;
      Element* const z1 = z0 + far;
      Element* const z2 = z1 + far;
      Element* const z3 = z2 + far;
      Butterfly<kDirection>(
          z0, z1, z2, z3, LoadComplex(z0, 0), Turn<kDirection>(LoadComplex(z1, 0), w2),
          Turn<kDirection>(LoadComplex(z2, 0), w1), Turn<kDirection>(LoadComplex(z3, 0), w3));
    }
  }
}

}  // namespace

template <Direction kDirection, typename Element>
void FFTDirect(Element* z, int32_t total, int32_t n, const Element* twiddles) {
  const bool isOrderOdd = (n & 0x2aaaaaaa) != 0;
  int32_t q = 1;
  while (4 * q <= n) {
    RadixFourPass<kDirection>(z, total, n, q, twiddles);
    q *= 4;
    if (q == 4 && isOrderOdd) {
      RadixTwoPass<kDirection>(z, total, LoadComplex(twiddles, 3 * (n / 8)).re);
      q = 8;
    }
  }
}

template void FFTDirect<Direction::kForward>(float*, int32_t, int32_t, const float*);
template void FFTDirect<Direction::kInverse>(float*, int32_t, int32_t, const float*);
template void FFTDirect<Direction::kForward>(double*, int32_t, int32_t, const double*);

}  // namespace zr::primitives::px
