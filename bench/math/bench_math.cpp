// The mathematical functions, of integers too, against the plain loop over the C library's
// functions and against SLEEF, in the cache. The rows are made from the list of primitives: one
// without its contenders does not link.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench/math/cases.h"
#include "bench/math/sleef.h"
#include "bench/primitives/operands.h"
#include "bench/primitives/plain.h"
#include "bench/rows.h"

extern "C" {
#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"
}

namespace zr::bench {
namespace {

/// A multiple of the lanes of every vector.
constexpr int32_t kLength = 1000;

constexpr bool IsReal(std::string_view family) {
  return family == "SingleMath" || family == "DoubleMath" || family == "ElementaryFunctions";
}
constexpr bool IsMeasured(std::string_view family) {
  return IsReal(family) || family == "IntegerFunctions";
}
constexpr bool IsInSleef(std::string_view family, std::string_view name) {
  return IsReal(family) && !name.starts_with("ippsPowerSpectr");
}

/// Roots and sums of squares have one right result, and so have integers.
bool HasBitsOfPlainLoop(std::string_view family, std::string_view name) {
  return !IsReal(family) || name.starts_with("ippsSqrt") || name.starts_with("ippsMagn") ||
         name.starts_with("ippsPowerSpectr");
}

template <typename Real>
bool IsNear(Real x, Real y) {
  return std::fabs(x - y) <= 4 * std::numeric_limits<Real>::epsilon() * std::fabs(y);
}

/// Compares what a parameter points to, if it is the destination.
template <typename Parameter>
bool IsResultNear(const std::vector<uint8_t>& outcome, const std::vector<uint8_t>& other) {
  using Real = std::remove_pointer_t<Parameter>;
  if constexpr (std::is_same_v<Real, float> || std::is_same_v<Real, double>) {
    std::array<Real, kLength> x;
    std::array<Real, kLength> y;
    std::memcpy(x.data(), outcome.data(), sizeof(x));
    std::memcpy(y.data(), other.data(), sizeof(y));
    return std::ranges::equal(x, y, IsNear<Real>);
  } else {
    return true;
  }
}

template <typename... Types>
class MathRow {
 public:
  using Function = int32_t (*)(Types...);

  MathRow(std::string name, const std::string& parameters, MathCase mathCase)
      : name_(std::move(name)), names_(ParameterNames(parameters)), case_(std::move(mathCase)) {}

  /// It is measured if it does what the other function does: to the bit, or nearly.
  void RegisterContender(const char* contender, Function function, Function other,
                         bool hasSameBits) const {
    Register(name_ + case_.suffix, contender,
             [row = *this, function, other, hasSameBits](benchmark::State& state) {
               row.Fill(Indices());
               if (!row.Agree(function, other, hasSameBits)) {
                 return state.SkipWithError("Not the result of the other contender");
               }
               const Call call = row.CallOf(function, Indices());
               Measure(state, kLength, row.BytesPerElement(),
                       [&] { benchmark::DoNotOptimize(call()); });
             });
  }

 private:
  using Indices = std::index_sequence_for<Types...>;

  struct Call {
    int32_t operator()() const {
      std::memcpy(inPlace, content, byteCount);
      return std::apply(function, arguments);
    }
    Function function;
    std::tuple<Types...> arguments;
    /// A vector in place is filled anew before each call, or it would run to a few values.
    void* inPlace;
    const void* content;
    std::size_t byteCount;
  };

  template <std::size_t... kIndex>
  Call CallOf(Function function, std::index_sequence<kIndex...>) const {
    using First = std::remove_pointer_t<std::tuple_element_t<0, std::tuple<Types...>>>;
    Operands& operands = Operands::Shared();
    return {function,
            {operands.Argument<Types>(names_[kIndex], kLength, case_.scaleFactor)...},
            operands.AddressOf("s"),
            operands.AddressOf("a"),
            IsInPlace(names_[0]) ? kLength * sizeof(First) : 0};
  }

  /// Read and written by the primitive.
  std::size_t BytesPerElement() const {
    const std::size_t perPass =
        ((std::is_pointer_v<Types> ? sizeof(std::remove_pointer_t<Types>) : 0) + ...);
    return IsInPlace(names_[0]) ? 2 * perPass : perPass;
  }

  template <typename Parameter>
  void FillParameter(const std::string& name) const {
    if constexpr (std::is_pointer_v<Parameter>) {
      if (IsDestination(name)) return;
      using Element = std::remove_const_t<std::remove_pointer_t<Parameter>>;
      void* const address = Operands::Shared().AddressOf(IsInPlace(name) ? "a" : name);
      FillUniformly(static_cast<Element*>(address), kLength, name == "b" ? case_.b : case_.a);
    }
  }

  template <std::size_t... kIndex>
  void Fill(std::index_sequence<kIndex...>) const {
    (FillParameter<Types>(names_[kIndex]), ...);
  }

  bool Agree(Function function, Function other, bool hasSameBits) const {
    const auto outcomeOf = [this](Function each) {
      const int32_t status = CallOf(each, Indices())();
      return std::pair(status, Operands::Shared().Outcome(kLength * sizeof(double)));
    };
    const auto [status, outcome] = outcomeOf(function);
    const auto [otherStatus, otherOutcome] = outcomeOf(other);
    if (status != otherStatus) return false;
    return hasSameBits ? outcome == otherOutcome
                       : (IsResultNear<Types>(outcome, otherOutcome) && ...);
  }

  std::string name_;
  std::vector<std::string> names_;
  MathCase case_;
};

template <bool kIsMeasured, typename... Types>
void RegisterRows(const char* family, const std::string& name, const std::string& parameters,
                  int32_t (*ours)(Types...), int32_t (*plain)(Types...),
                  std::type_identity_t<int32_t (*)(Types...)> sleef) {
  const bool hasBitsOfPlain = HasBitsOfPlainLoop(family, name);
  for (const MathCase& mathCase : MathCasesOf(name)) {
    const MathRow<Types...> row(name, parameters, mathCase);
    row.RegisterContender("ours", ours, plain, hasBitsOfPlain);
    row.RegisterContender("plain", plain, ours, hasBitsOfPlain);
    if (sleef != nullptr) row.RegisterContender("sleef", sleef, plain, false);
  }
}

// Of the other families nothing is named where code is made.
#define PRIMITIVE(family, result, name, parameters, summary)                                       \
  []<bool kIsMeasured, bool kIsInSleef>() {                                                        \
    if constexpr (kIsInSleef)                                                                      \
      RegisterRows<kIsMeasured>(#family, #name, #parameters, &::name, &plain::name, &sleef::name); \
    else if constexpr (kIsMeasured)                                                                \
      RegisterRows<kIsMeasured>(#family, #name, #parameters, &::name, &plain::name, nullptr);      \
  }.template operator()<IsMeasured(#family), IsInSleef(#family, #name)>();

[[maybe_unused]] const bool kAreRowsRegistered = [] {
#include "primitives/primitive_list.def"
  return true;
}();

}  // namespace
}  // namespace zr::bench
