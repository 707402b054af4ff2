#include "tests/primitives/primitive_call.h"

#include <cmath>
#include <sstream>
#include <string_view>

#include "primitives/library.h"
#include "primitives/types.h"

extern "C" {
#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"
}

namespace zr::test {
namespace {

template <typename Parameter>
using ElementOf = std::remove_const_t<std::remove_pointer_t<Parameter>>;

template <typename Real>
Real OneNaN(Real value) {
  return std::isnan(value) ? std::numeric_limits<Real>::quiet_NaN() : value;
}

template <typename Element>
void AppendCanonical(const uint8_t* bytes, std::size_t size, std::vector<uint8_t>* outputs) {
  const auto append = [outputs](const auto& value) {
    const auto* const from = reinterpret_cast<const uint8_t*>(&value);
    outputs->insert(outputs->end(), from, from + sizeof(value));
  };
  for (std::size_t i = 0; i < size; i += sizeof(Element)) {
    Element element;
    std::memcpy(&element, bytes + i, sizeof(element));
    if constexpr (std::is_floating_point_v<Element>) {
      append(OneNaN(element));
    } else if constexpr (std::is_same_v<Element, Complex32f> ||
                         std::is_same_v<Element, Complex64f>) {
      append(OneNaN(element.re));
      append(OneNaN(element.im));
    } else {
      append(element);
    }
  }
}

// Parameter names of one element.
bool IsSingle(const std::string& name) {
  return name == "result" || name == "index" || name == "seed" || name == "minimum" ||
         name == "maximum";
}

template <typename Integer>
Integer IntegerParameter(const std::string& name, int32_t length, RandomElements& random) {
  if (name == "n") return static_cast<Integer>(length);
  if (name == "scaleFactor") {
    constexpr int32_t kFactors[] = {0,   1,   2,   5,   8,   15,  16,        17,
                                    31,  32,  33,  63,  -1,  -3,  -14,       -15,
                                    -16, -21, -22, -31, -32, -62, INT32_MIN, INT32_MAX};
    return static_cast<Integer>(kFactors[random.Bits() % std::size(kFactors)]);
  }
  if (name == "roundMode" || name == "hint") return static_cast<Integer>(random.Bits() % 3);
  if (name == "shift") return static_cast<Integer>(random.Bits() % 20);
  if (name == "maskSize") return static_cast<Integer>(random.Bits() % 9 + 1);
  return random.Next<Integer>();
}

template <typename... Types>
class TypedCall final : public PrimitiveCall {
 public:
  using Function = int32_t (*)(Types...);
  static constexpr std::size_t kCount = sizeof...(Types);

  TypedCall(std::string family, std::string name, std::vector<std::string> parameters,
            Function function)
      : PrimitiveCall(std::move(family), std::move(name), std::move(parameters)),
        function_(function) {}

  CallOutcome Run(const CallSettings& settings) const override {
    return RunWith(settings, std::make_index_sequence<kCount>());
  }
  bool IsPointer(std::size_t parameter) const override { return kIsPointer[parameter]; }
  bool HasInPlaceForm() const override {
    if constexpr (kCount < 2) {
      return false;
    } else {
      const std::size_t destination = Destination();
      return kIsConst[0] && destination != SIZE_MAX && destination != 0 &&
             kElementSize[0] == kElementSize[destination];
    }
  }

 private:
  static constexpr std::array<bool, kCount> kIsPointer = {std::is_pointer_v<Types>...};
  static constexpr std::array<bool, kCount> kIsConst = {
      std::is_const_v<std::remove_pointer_t<Types>>...};
  static constexpr std::array<std::size_t, kCount> kElementSize = {sizeof(ElementOf<Types>)...};

  std::size_t Destination() const {
    for (std::size_t i = 0; i < kCount; ++i)
      if (NameOf(i) == "d") return i;
    return SIZE_MAX;
  }
  const std::string& NameOf(std::size_t i) const { return ParameterNames().at(i); }

  template <typename Parameter>
  Parameter Make(std::size_t i, const CallSettings& settings, RandomElements& random,
                 std::array<GuardedBuffer, kCount>& buffers) const {
    const std::string& name = NameOf(i);
    if constexpr (std::is_pointer_v<Parameter>) {
      using Element = ElementOf<Parameter>;
      const std::size_t count =
          IsSingle(name) ? 1 : static_cast<std::size_t>(std::max(settings.length, 1));
      buffers[i] = GuardedBuffer(count * sizeof(Element), settings.misalignment);
      if (name != "d") {
        for (std::size_t k = 0; k < count; ++k) {
          const auto element = random.Next<Element>();
          std::memcpy(buffers[i].Data() + k * sizeof(Element), &element, sizeof(element));
        }
      }
      if (settings.nullPointer == i) return nullptr;
      uint8_t* const data =
          settings.isInPlace && name == "d" ? buffers[0].Data() : buffers[i].Data();
      return reinterpret_cast<Parameter>(data);
    } else if constexpr (std::is_integral_v<Parameter>) {
      return IntegerParameter<Parameter>(name, settings.length, random);
    } else {
      constexpr Parameter kShortCuts[] = {0, 1, -Parameter{0},
                                          std::numeric_limits<Parameter>::quiet_NaN()};
      if (settings.withSpecials && random.Bits() % 4 == 0) return kShortCuts[random.Bits() % 4];
      return random.Next<Parameter>();
    }
  }

  template <std::size_t... kIndex>
  CallOutcome RunWith(const CallSettings& settings, std::index_sequence<kIndex...>) const {
    RandomElements random(settings.seed, settings.withSpecials);
    std::array<GuardedBuffer, kCount> buffers;
    // Braces: from the first to the last.
    const std::tuple<Types...> arguments{Make<Types>(kIndex, settings, random, buffers)...};
    std::array<std::vector<uint8_t>, kCount> before;
    for (std::size_t i = 0; i < kCount; ++i)
      before[i] = buffers[i].Content();

    CallOutcome outcome;
    outcome.status = std::apply(function_, arguments);
    for (std::size_t i = 0; i < kCount; ++i) {
      outcome.areGuardsIntact = outcome.areGuardsIntact && buffers[i].IsGuardIntact();
      outcome.isUntouched = outcome.isUntouched && buffers[i].Content() == before[i];
    }
    (AppendOutput<Types>(kIndex, settings, buffers, &outcome), ...);
    return outcome;
  }

  template <typename Parameter>
  void AppendOutput(std::size_t i, const CallSettings& settings,
                    std::array<GuardedBuffer, kCount>& buffers, CallOutcome* outcome) const {
    if constexpr (std::is_pointer_v<Parameter>) {
      if (kIsConst[i]) return;
      GuardedBuffer& buffer = settings.isInPlace && NameOf(i) == "d" ? buffers[0] : buffers[i];
      AppendCanonical<ElementOf<Parameter>>(buffer.Data(), buffers[i].Size(), &outcome->outputs);
    }
  }

  Function function_;
};

// "(const float* a, int32_t n)" gives a, n.
std::vector<std::string> NamesIn(const std::string& parameters) {
  std::vector<std::string> names;
  std::istringstream list(parameters.substr(1, parameters.size() - 2));
  for (std::string parameter; std::getline(list, parameter, ',');)
    names.push_back(parameter.substr(parameter.rfind(' ') + 1));
  return names;
}

using Calls = std::vector<std::unique_ptr<PrimitiveCall>>;

constexpr bool IsPlain(std::string_view family) {
  return family == "Arithmetic" || family == "Statistics" || family == "Conversion" ||
         family == "Memory" || family == "Random" || family == "IntegerArithmetic" ||
         family == "IntegerFunctions" || family == "Sorting" || family == "SingleMath" ||
         family == "DoubleMath" || family == "ElementaryFunctions";
}

template <bool kIsPlain, typename Result, typename... Types>
void Add(Calls* calls, const char* family, const char* name, const char* parameters,
         Result (*function)(Types...)) {
  // Not the allocators, nor what goes with them.
  if constexpr (kIsPlain && std::is_same_v<Result, int32_t>) {
    calls->push_back(
        std::make_unique<TypedCall<Types...>>(family, name, NamesIn(parameters), function));
  }
}

}  // namespace

const Calls& PlainCalls() {
  static const Calls calls = [] {
    Calls all;
#define PRIMITIVE(family, result, name, parameters, summary) \
  Add<IsPlain(#family)>(&all, #family, #name, #parameters, &::name);
#include "primitives/primitive_list.def"
    return all;
  }();
  return calls;
}

}  // namespace zr::test
