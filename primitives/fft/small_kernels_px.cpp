// Complex transforms of 1 to 8 points, px build. All is read before anything is written; the scale
// multiplies in the registers, so that each number is rounded once.
#include "primitives/fft/small_kernels.h"

#include "primitives/element_words.h"
#include "primitives/fft/ordered_transform.h"

namespace zr::primitives::px {
namespace {

// The cosine of an eighth of a turn.
template <typename Element>
inline constexpr Wide<Element> kEighth = {kIsFloat<Element> ? 0.70710677F : 0.70710678118654752};

template <typename Element>
struct FourPoints {
  WideComplex<Element> y0, y1, y2, y3;
};

template <Direction kDirection, typename Element>
inline FourPoints<Element> TransformFour(WideComplex<Element> x0, WideComplex<Element> x1,
                                         WideComplex<Element> x2, WideComplex<Element> x3) {
  const auto p = x0 + x2;
  const auto m = x0 - x2;
  const auto s = x1 + x3;
  const auto d = QuarterTurn<kDirection>(x1 - x3);
  return {p + s, m + d, p - s, m - d};
}

// Scale: what multiplies a result.
template <Direction kDirection, typename Element, typename Scale>
void Transform(int32_t order, const Element* x, Element* y, Scale scale) {
  const auto load = [x](int32_t i) { return LoadComplex(x, i); };
  const auto store = [y, scale](int32_t i, WideComplex<Element> value) {
    StoreComplex(y, i, scale(value));
  };
  if (order == 0) {
    store(0, load(0));
  } else if (order == 1) {
    const auto x0 = load(0);
    const auto x1 = load(1);
    store(0, x0 + x1);
    store(1, x0 - x1);
  } else if (order == 2) {
    const auto all = TransformFour<kDirection>(load(0), load(1), load(2), load(3));
    store(0, all.y0);
    store(1, all.y1);
    store(2, all.y2);
    store(3, all.y3);
  } else {
    const auto even = TransformFour<kDirection>(load(0), load(2), load(4), load(6));
    const auto odd = TransformFour<kDirection>(load(1), load(3), load(5), load(7));
    const WideComplex<Element> eighth = {kEighth<Element>, -kEighth<Element>};
    const WideComplex<Element> threeEighths = {-kEighth<Element>, -kEighth<Element>};
    const auto odd1 = Turn<kDirection>(odd.y1, eighth);
    const auto odd2 = QuarterTurn<kDirection>(odd.y2);
    const auto odd3 = Turn<kDirection>(odd.y3, threeEighths);
    store(0, even.y0 + odd.y0);
    store(1, even.y1 + odd1);
    store(2, even.y2 + odd2);
    store(3, even.y3 + odd3);
    store(4, even.y0 - odd.y0);
    store(5, even.y1 - odd1);
    store(6, even.y2 - odd2);
    store(7, even.y3 - odd3);
  }
}

}  // namespace

template <Direction kDirection, typename Element>
void FFTSmall(const FftSpecification<Element>& specification, const Element* source,
              Element* destination) {
  if (IsScaled<kDirection>(specification)) {
    const Wide<Element> factor = {specification.scale};
    Transform<kDirection>(specification.order, source, destination,
                          [factor](WideComplex<Element> value) { return value * factor; });
  } else if (specification.order == 0) {
    StoreWord(destination, LoadWord(source));
    StoreWord(destination + 1, LoadWord(source + 1));
  } else {
    Transform<kDirection>(specification.order, source, destination,
                          [](WideComplex<Element> value) { return value; });
  }
}

template void FFTSmall<Direction::kForward>(const FftSpecification<float>&, const float*, float*);
template void FFTSmall<Direction::kInverse>(const FftSpecification<float>&, const float*, float*);
template void FFTSmall<Direction::kForward>(const FftSpecification<double>&, const double*,
                                            double*);

}  // namespace zr::primitives::px
