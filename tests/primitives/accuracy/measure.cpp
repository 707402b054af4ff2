#include "tests/primitives/accuracy/measure.h"

#include <bit>
#include <limits>

namespace zr::test {
namespace {

// 1 followed by zeros: what an infinity counts as beside a finite number.
template <typename Element>
long double NumberBehindTheLargest() {
  return std::ldexp(1.0L, std::numeric_limits<Element>::max_exponent);
}

// Of the last place of a number of this magnitude.
template <typename Element>
int ExponentOfUnit(double number) {
  using Limits = std::numeric_limits<Element>;
  const int exponent = number == 0.0 ? Limits::min_exponent : std::ilogb(number);
  return std::clamp(exponent, Limits::min_exponent - 1, Limits::max_exponent - 1) -
         (Limits::digits - 1);
}

template <typename Element>
class Judge {
 public:
  explicit Judge(const Function<Element>& function) : function_(function) {}

  void Take(Element x, Element y, Element result) {
    if (std::isnan(x)) return;
    const Expected expected = Expect(x, y);
    if (!expected.isFinite || std::isnan(result)) {
      const bool isSame =
          std::isnan(expected.nearest) ? std::isnan(result) : result == expected.nearest;
      figures_.wrongSpecials += isSame ? 0 : 1;
      return;
    }
    const double error = result == expected.nearest && std::isinf(result)
                             ? 0.0
                             : std::fabs(Difference(result, expected));
    if (error > figures_.all.largest) {
      figures_.worst[0] = x;
      figures_.worst[1] = y;
    }
    figures_.all.Add(error);
    figures_.notNearest += result != expected.nearest ? 1 : 0;
    if (function_.allowed != nullptr)
      figures_.notAllowed += error > function_.allowed(x, y) ? 1 : 0;
    const double places[] = {x, y, expected.number};
    figures_.Binade(places[static_cast<int>(function_.axis)]).Add(error);
  }

  // Compares the reference with MPFR.
  void CheckReference(Element x, Element y) {
    if (function_.reference == nullptr) return;
    const double reference = function_.reference(x, y);
    if (!std::isfinite(reference) || reference == 0.0) return;
    exact_.Compute(function_.exact, x, y);
    figures_.referenceError =
        std::max(figures_.referenceError, std::fabs(exact_.Difference(reference, 0) / reference));
  }

  [[nodiscard]] const Figures& Get() const { return figures_; }

 private:
  struct Expected {
    bool isFinite;  ///< It may still be beyond the range of the type.
    double number;
    Element nearest;
  };

  Expected Expect(Element x, Element y) {
    if constexpr (std::is_same_v<Element, float>) {
      const double reference = function_.reference(x, y);
      auto nearest = static_cast<float>(reference);
      // The reference may stand on the wrong side of the middle between two floats.
      if (std::isfinite(reference) && static_cast<float>(reference * (1 - 0x1p-50)) !=
                                          static_cast<float>(reference * (1 + 0x1p-50))) {
        exact_.Compute(function_.exact, x, y);
        nearest = exact_.NearestFloat();
      }
      return {std::isfinite(reference), reference, nearest};
    } else {
      exact_.Compute(function_.exact, x, y);
      const double nearest = exact_.NearestDouble();
      return {!exact_.IsNaN() && !exact_.IsInfinite(), nearest, nearest};
    }
  }

  // In units of the last place.
  double Difference(Element result, const Expected& expected) {
    const int exponent = ExponentOfUnit<Element>(expected.number);
    const long double number = std::isinf(result)
                                   ? std::copysign(NumberBehindTheLargest<Element>(), result)
                                   : static_cast<long double>(result);
    if constexpr (std::is_same_v<Element, float>) {
      // A double holds the difference, or so much of it that the rest does not count.
      const auto unit = std::bit_cast<double>(static_cast<uint64_t>(1023 - exponent) << 52);
      return (static_cast<double>(number) - expected.number) * unit;
    } else {
      return exact_.Difference(number, exponent);
    }
  }

  const Function<Element>& function_;
  Exact exact_;
  Figures figures_;
};

}  // namespace

template <typename Element>
Figures Measure(const Function<Element>& function, const Share& share) {
  constexpr int32_t kBlock = Share::kBlock;
  Judge<Element> judge(function);
  std::vector<Element> x(kBlock);
  std::vector<Element> y(kBlock);
  std::vector<Element> result(kBlock);
  for (uint64_t block = share.first; block < share.blocks; block += share.step) {
    RandomElements random(block << 16, false);
    for (int32_t i = 0; i < kBlock; ++i) {
      if (function.fill != nullptr) {
        function.fill(&random, &x[i], &y[i]);
      } else {
        const uint64_t number = block * kBlock + static_cast<uint64_t>(i);
        x[i] = static_cast<Element>(
            std::bit_cast<float>(static_cast<uint32_t>(number * share.stride)));
      }
    }
    function.call(x.data(), y.data(), result.data(), kBlock);
    for (int32_t i = 0; i < kBlock; ++i)
      judge.Take(x[i], y[i], result[i]);
    judge.CheckReference(x[0], y[0]);
  }
  return judge.Get();
}

template Figures Measure(const Function<float>&, const Share&);
template Figures Measure(const Function<double>&, const Share&);

}  // namespace zr::test
