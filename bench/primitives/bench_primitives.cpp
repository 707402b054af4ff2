// Every primitive of the plain families, in the cache and out of it, against the plain loop for the
// same bits and against VOLK. The rows are made from the list of primitives: one without a plain
// loop does not link.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "bench/primitives/operands.h"
#include "bench/primitives/plain.h"
#include "bench/primitives/volk.h"
#include "bench/rows.h"
#include "primitives/memory.h"

extern "C" {
#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"
}

namespace zr::bench {
namespace {

constexpr int32_t kLengths[] = {1000, Operands::kLongest};

constexpr bool IsPlain(std::string_view family) {
  return family == "Arithmetic" || family == "Statistics" || family == "Conversion" ||
         family == "Memory" || family == "Random" || family == "IntegerArithmetic";
}

/// With integers each sign of the scale factor is another way: rounded, as it is, shifted left.
std::vector<int32_t> ScaleFactors(std::string_view family) {
  if (family == "IntegerArithmetic") return {15, 0, -8};
  return {static_cast<int32_t>(ConstantFor("scaleFactor"))};
}

template <typename... Types>
class VectorRow {
 public:
  using Function = int32_t (*)(Types...);

  VectorRow(std::string name, std::vector<std::string> names, int32_t scaleFactor)
      : name_(std::move(name)), names_(std::move(names)), scaleFactor_(scaleFactor) {}

  void RegisterContenders(const std::string& rowName, Function ours, Function plain) const {
    for (const int32_t length : kLengths) {
      const std::string caseName = rowName + "/" + std::to_string(length);
      Register(caseName, "ours", [row = *this, length, ours, plain](benchmark::State& state) {
        if (!row.Agree(ours, plain)) return state.SkipWithError("Not the result of the plain loop");
        row.MeasureFunction(state, length, ours);
      });
      Register(caseName, "plain", [row = *this, length, plain](benchmark::State& state) {
        row.MeasureFunction(state, length, plain);
      });
      if (const VolkCall volk = VolkCallFor(name_)) {
        Register(caseName, "volk", [row = *this, length, volk](benchmark::State& state) {
          row.MeasureVolk(state, length, volk);
        });
      }
    }
  }

 private:
  using Indices = std::index_sequence_for<Types...>;

  template <std::size_t... kIndex>
  void Fill(int32_t length, std::index_sequence<kIndex...>) const {
    bool isInPlace = false;
    for (const std::string& name : names_) {
      isInPlace = isInPlace || IsInPlace(name);
    }
    (Operands::Shared().Fill<Types>(names_[kIndex], length, isInPlace), ...);
  }

  template <std::size_t... kIndex>
  std::tuple<Types...> Arguments(int32_t length, std::index_sequence<kIndex...>) const {
    return {Operands::Shared().Argument<Types>(names_[kIndex], length, scaleFactor_)...};
  }

  /// What one element reads and writes. In a threshold in place all elements are read and, once
  /// they are within the levels, none is written.
  template <std::size_t... kIndex>
  std::size_t BytesPerElement(std::index_sequence<kIndex...>) const {
    const bool isThreshold = name_.find("Threshold") != std::string::npos;
    const auto passes = [isThreshold](const std::string& name) -> std::size_t {
      if (IsInPlace(name)) return isThreshold ? 1 : 2;
      return IsSource(name) || IsDestination(name) ? 1 : 0;
    };
    return ((std::is_pointer_v<Types>
                 ? passes(names_[kIndex]) * sizeof(std::remove_pointer_t<Types>)
                 : 0) +
            ...);
  }

  bool Agree(Function ours, Function plain) const {
    constexpr int32_t kLength = 1003;
    const auto outcomeOf = [this](Function function) {
      Operands::Shared().Restart();
      Fill(kLength, Indices());
      const int32_t status = std::apply(function, Arguments(kLength, Indices()));
      return std::pair(status, Operands::Shared().Outcome(kLength * sizeof(Complex64f)));
    };
    return outcomeOf(ours) == outcomeOf(plain);
  }

  /// Vectors that are changed in place go on from contender to contender: their elements stay what
  /// they are, or settle in the first few calls.
  void FillOnce(int32_t length) const {
    static std::pair<std::string, int32_t> filledFor;
    const std::pair now(name_, length);
    if (filledFor != now) Fill(length, Indices());
    filledFor = now;
  }

  void MeasureFunction(benchmark::State& state, int32_t length, Function function) const {
    FillOnce(length);
    const auto arguments = Arguments(length, Indices());
    Measure(state, length, BytesPerElement(Indices()),
            [&] { benchmark::DoNotOptimize(std::apply(function, arguments)); });
  }

  void MeasureVolk(benchmark::State& state, int32_t length, VolkCall call) const {
    FillOnce(length);
    Operands& operands = Operands::Shared();
    const VolkOperands arguments = {{operands.AddressOf("a")},     {operands.AddressOf("b")},
                                    {operands.AddressOf("d")},     {operands.AddressOf("result")},
                                    {operands.AddressOf("index")}, static_cast<uint32_t>(length)};
    Measure(state, length, BytesPerElement(Indices()), [&] { call(arguments); });
  }

  std::string name_;
  std::vector<std::string> names_;
  int32_t scaleFactor_;
};

template <bool kIsPlain, typename... Types>
void RegisterRow(const char* family, const std::string& name, const char* parameters,
                 int32_t (*ours)(Types...), int32_t (*plain)(Types...)) {
  const std::vector<std::string> names = ParameterNames(parameters);
  if (std::ranges::find(names, "scaleFactor") == names.end()) {
    VectorRow<Types...>(name, names, 0).RegisterContenders(name, ours, plain);
    return;
  }
  for (const int32_t scaleFactor : ScaleFactors(family)) {
    const std::string rowName = name + "/scale:" + std::to_string(scaleFactor);
    VectorRow<Types...>(name, names, scaleFactor).RegisterContenders(rowName, ours, plain);
  }
}

/// An allocator is measured with the free that belongs to it.
template <bool kIsPlain, typename Element>
void RegisterRow(const char* /*family*/, const std::string& name, const char* /*parameters*/,
                 Element* (*ours)(int32_t), Element* (*plain)(int32_t)) {
  const auto pairOf = [](Element* (*allocate)(int32_t), void (*free)(void*), int32_t length) {
    return [=](benchmark::State& state) {
      for ([[maybe_unused]] auto _ : state) {
        Element* const block = allocate(length);
        benchmark::DoNotOptimize(block);
        free(block);
      }
    };
  };
  for (const int32_t length : kLengths) {
    const std::string caseName = name + "/" + std::to_string(length);
    Register(caseName, "ours", pairOf(ours, &::ippsFree, length));
    Register(caseName, "plain", pairOf(plain, &plain::ippsFree, length));
  }
}

template <bool kIsPlain>
void RegisterRow(const char* /*family*/, const std::string& /*name*/, const char* /*parameters*/,
                 void (* /*ours*/)(void*), void (* /*plain*/)(void*)) {}

// Of the other families nothing is named where code is made.
#define PRIMITIVE(family, result, name, parameters, summary)                     \
  []<bool kIsPlain>() {                                                          \
    if constexpr (kIsPlain)                                                      \
      RegisterRow<kIsPlain>(#family, #name, #parameters, &::name, &plain::name); \
  }.template operator()<IsPlain(#family)>();

[[maybe_unused]] const bool kAreRowsRegistered = [] {
#include "primitives/primitive_list.def"
  return true;
}();

}  // namespace
}  // namespace zr::bench
