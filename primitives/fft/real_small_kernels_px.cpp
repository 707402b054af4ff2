// Real transforms of 1 to 8 points, px build. All is read before anything is written; the scale
// multiplies in the registers, so that each number is rounded once.
#include "primitives/element_words.h"
#include "primitives/fft/ordered_transform.h"
#include "primitives/fft/small_kernels.h"

namespace zr::primitives::px {
namespace {

// The cosine of an eighth of a turn; inverse, with the 2 that a pair of conjugates brings in.
constexpr double kEighth = 0.70710677F;
constexpr double kTwoEighths = 1.4142135F;

// The same both ways.
template <typename Store_>
void TransformOneOrTwo(int32_t order, const float* x, Store_ store) {
  const double x0 = Load(x, 0);
  if (order == 0) {
    store(0, x0);
  } else {
    const double x1 = Load(x, 1);
    store(0, x0 + x1);
    store(1, x0 - x1);
  }
}

// Four or eight points.
template <typename Store_>
void TransformForward(int32_t order, const float* x, Store_ store) {
  const auto load = [x](int32_t i) { return double{Load(x, i)}; };
  if (order == 2) {
    const double x0 = load(0), x1 = load(1), x2 = load(2), x3 = load(3);
    const double even = x0 + x2;
    const double odd = x1 + x3;
    store(0, even + odd);
    store(1, even - odd);
    store(2, x0 - x2);
    store(3, x3 - x1);
  } else {
    const double x0 = load(0), x1 = load(1), x2 = load(2), x3 = load(3);
    const double x4 = load(4), x5 = load(5), x6 = load(6), x7 = load(7);
    // The sums make numbers 0, 2 and 4, the differences 1 and 3.
    const double even0 = x0 + x4, even1 = x2 + x6;
    const double odd0 = x1 + x5, odd1 = x3 + x7;
    const double even = even0 + even1;
    const double odd = odd0 + odd1;
    const double m0 = x0 - x4, m1 = x2 - x6;
    const double n0 = x1 - x5, n1 = x3 - x7;
    const double re = kEighth * (n0 - n1);
    const double im = kEighth * (n0 + n1);
    store(0, even + odd);
    store(1, even - odd);
    store(2, m0 + re);
    store(3, -m1 - im);
    store(4, even0 - even1);
    store(5, odd1 - odd0);
    store(6, m0 - re);
    store(7, m1 - im);
  }
}

// Four or eight points.
template <typename Store_>
void TransformInverse(int32_t order, const float* x, Store_ store) {
  const auto load = [x](int32_t i) { return double{Load(x, i)}; };
  if (order == 2) {
    const double sum = load(0) + load(1);
    const double difference = load(0) - load(1);
    const double twiceRe = 2.0 * load(2);
    const double twiceIm = 2.0 * load(3);
    store(0, sum + twiceRe);
    store(1, difference - twiceIm);
    store(2, sum - twiceRe);
    store(3, difference + twiceIm);
  } else {
    const double sum = load(0) + load(1);
    const double difference = load(0) - load(1);
    const double re1 = load(2), im1 = load(3);
    const double twiceRe2 = 2.0 * load(4), twiceIm2 = 2.0 * load(5);
    const double re3 = load(6), im3 = load(7);
    const double p = sum + twiceRe2, m = sum - twiceRe2;
    const double twiceEvenRe = 2.0 * (re1 + re3);
    const double twiceEvenIm = 2.0 * (im1 - im3);
    const double pOdd = difference - twiceIm2, mOdd = difference + twiceIm2;
    const double reDifference = re1 - re3;
    const double imSum = im1 + im3;
    const double twiceOddRe = kTwoEighths * (reDifference - imSum);
    const double twiceOddIm = kTwoEighths * (reDifference + imSum);
    store(0, p + twiceEvenRe);
    store(1, pOdd + twiceOddRe);
    store(2, m - twiceEvenIm);
    store(3, mOdd - twiceOddIm);
    store(4, p - twiceEvenRe);
    store(5, pOdd - twiceOddRe);
    store(6, m + twiceEvenIm);
    store(7, mOdd + twiceOddIm);
  }
}

template <Direction kDirection>
void Transform(const FftSpecification<float>& specification, const float* source,
               float* destination) {
  const auto transform = [&](auto store) {
    if (specification.order < 2) {
      TransformOneOrTwo(specification.order, source, store);
    } else if constexpr (kDirection == Direction::kForward) {
      TransformForward(specification.order, source, store);
    } else {
      TransformInverse(specification.order, source, store);
    }
  };
  if (IsScaled<kDirection>(specification)) {
    const double scale = specification.scale;
    transform([destination, scale](int32_t i, double value) {
      Store(destination, i, RoundToFloat(value * scale));
    });
  } else if (specification.order == 0) {
    StoreWord(destination, LoadWord(source));
  } else {
    transform(
        [destination](int32_t i, double value) { Store(destination, i, RoundToFloat(value)); });
  }
}

}  // namespace

void FFTSmallRealForward(const FftSpecification<float>& specification, const float* source,
                         float* destination) {
  Transform<Direction::kForward>(specification, source, destination);
}
void FFTSmallRealInverse(const FftSpecification<float>& specification, const float* source,
                         float* destination) {
  Transform<Direction::kInverse>(specification, source, destination);
}

}  // namespace zr::primitives::px
