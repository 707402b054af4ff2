// The direct kernel, px build: radix-4 passes, behind the first one a radix-2 pass where the order
// is odd. Each number is rounded when a pass stores it.
#include "primitives/fft/direct_kernel.h"

namespace zr::primitives::px {
namespace {

// z[0], z[q], z[2q], z[3q] already turned, in bit-reversed order: hence the middle two trade roles.
template <Direction kDirection, typename Element>
inline void Butterfly(Element* z0, Element* z1, Element* z2, Element* z3, int32_t k,
                      WideComplex<Element> t0, WideComplex<Element> t1, WideComplex<Element> t2,
                      WideComplex<Element> t3) {
  const auto p = t0 + t1;
  const auto m = t0 - t1;
  const auto s = t2 + t3;
  const auto d = QuarterTurn<kDirection>(t2 - t3);
  StoreComplex(z0, k, p + s);
  StoreComplex(z1, k, m + d);
  StoreComplex(z2, k, p - s);
  StoreComplex(z3, k, m - d);
}

template <Direction kDirection, typename Element>
inline void UnturnedButterfly(Element* z0, Element* z1, Element* z2, Element* z3) {
  Butterfly<kDirection>(z0, z1, z2, z3, 0, LoadComplex(z0, 0), LoadComplex(z1, 0),
                        LoadComplex(z2, 0), LoadComplex(z3, 0));
}

template <Direction kDirection, typename Element>
void FirstPass(Element* z, int32_t n) {
  for (int32_t i = 0; i < n; i += 4) {
    Element* const group = z + 2 * i;
    UnturnedButterfly<kDirection>(group, group + 2, group + 4, group + 6);
  }
}

template <typename Element>
inline void RadixTwoButterfly(Element* z, int32_t k, WideComplex<Element> turned) {
  const auto unturned = LoadComplex(z, k);
  StoreComplex(z, k + 4, unturned - turned);
  StoreComplex(z, k, unturned + turned);
}

// Over groups of eight; c is the cosine of an eighth of a turn.
template <Direction kDirection, typename Element>
void RadixTwoPass(Element* z, int32_t n, Wide<Element> c) {
  const WideComplex<Element> eighth = {c, -c};
  const WideComplex<Element> threeEighths = {-c, -c};
  for (int32_t i = 0; i < n; i += 8) {
    Element* const group = z + 2 * i;
    RadixTwoButterfly(group, 0, LoadComplex(group, 4));
    RadixTwoButterfly(group, 1, Turn<kDirection>(LoadComplex(group, 5), eighth));
    RadixTwoButterfly(group, 2, QuarterTurn<kDirection>(LoadComplex(group, 6)));
    RadixTwoButterfly(group, 3, Turn<kDirection>(LoadComplex(group, 7), threeEighths));
  }
}

// One group: four neighbouring blocks of q numbers, which do not overlap.
template <Direction kDirection, typename Element>
inline void RadixFourGroup(Element* __restrict z0, Element* __restrict z1, Element* __restrict z2,
                           Element* __restrict z3, int32_t q, const Element* __restrict twiddles,
                           int32_t rowStep) {
  UnturnedButterfly<kDirection>(z0, z1, z2, z3);
  const Element* row = twiddles;
  for (int32_t k = 1; k < q; ++k) {
    row += 6 * rowStep;
    Butterfly<kDirection>(z0, z1, z2, z3, k, LoadComplex(z0, k),
                          Turn<kDirection>(LoadComplex(z1, k), LoadComplex(row, 1)),
                          Turn<kDirection>(LoadComplex(z2, k), LoadComplex(row, 0)),
                          Turn<kDirection>(LoadComplex(z3, k), LoadComplex(row, 2)));
  }
}

}  // namespace

template <Direction kDirection, typename Element>
void FFTDirect(Element* z, int32_t n, const Element* twiddles) {
  FirstPass<kDirection>(z, n);
  int32_t q = 4;
  const bool isOrderOdd = (n & 0x2aaaaaaa) != 0;
  if (isOrderOdd) {
    RadixTwoPass<kDirection>(z, n, LoadComplex(twiddles, 3 * (n / 8)).re);
    q = 8;
  }
  for (; 4 * q <= n; q *= 4) {
    for (int32_t i = 0; i < n; i += 4 * q) {
      Element* const group = z + 2 * i;
      RadixFourGroup<kDirection>(group, group + 2 * q, group + 4 * q, group + 6 * q, q, twiddles,
                                 n / (4 * q));
    }
  }
}

template void FFTDirect<Direction::kForward>(float*, int32_t, const float*);
template void FFTDirect<Direction::kInverse>(float*, int32_t, const float*);
template void FFTDirect<Direction::kForward>(double*, int32_t, const double*);

}  // namespace zr::primitives::px
