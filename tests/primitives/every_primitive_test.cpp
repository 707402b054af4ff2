// What holds for every primitive on plain vectors, over random and special elements.
#include <gtest/gtest.h>

#include "tests/primitives/primitive_call.h"

namespace zr::test {
namespace {

class EveryPrimitive : public testing::TestWithParam<const PrimitiveCall*> {};

// Around every turn of a loop that is unrolled, and behind.
constexpr int32_t kLongest = 70;

TEST_P(EveryPrimitive, StaysInItsVectorsAtAnyAddress) {
  for (int32_t length = 1; length <= kLongest; ++length) {
    const CallSettings aligned = {.length = length, .seed = static_cast<uint64_t>(length)};
    const CallOutcome expected = GetParam()->Run(aligned);
    ASSERT_TRUE(expected.areGuardsIntact) << length;
    for (const std::size_t misalignment : {1U, 2U, 4U, 8U, 15U}) {
      CallSettings settings = aligned;
      settings.misalignment = misalignment;
      const CallOutcome outcome = GetParam()->Run(settings);
      ASSERT_TRUE(outcome.areGuardsIntact) << length << " at " << misalignment;
      ASSERT_EQ(outcome.status, expected.status) << length << " at " << misalignment;
      ASSERT_EQ(outcome.outputs, expected.outputs) << length << " at " << misalignment;
    }
  }
}

TEST_P(EveryPrimitive, MayOverwriteItsFirstSource) {
  // Reversal reads from the front what it has written from the back.
  if (!GetParam()->HasInPlaceForm() || GetParam()->Name() == "ippsConjFlip_64fc") return;
  for (int32_t length = 1; length <= kLongest; ++length) {
    CallSettings settings = {.length = length, .seed = 1000U + static_cast<uint64_t>(length)};
    const CallOutcome apart = GetParam()->Run(settings);
    settings.isInPlace = true;
    const CallOutcome inPlace = GetParam()->Run(settings);
    ASSERT_EQ(inPlace.status, apart.status) << length;
    if (apart.status < 0) continue;  // Refused, nothing is written.
    ASSERT_EQ(inPlace.outputs, apart.outputs) << length;
  }
}

// Whichever of the sources and destinations is missing, and however short the vector.
TEST_P(EveryPrimitive, RefusesBeforeItWrites) {
  const PrimitiveCall& call = *GetParam();
  const std::string& name = call.Name();
  const bool isLengthFirst = call.Family() == "SingleMath" || call.Family() == "DoubleMath" ||
                             (name.find("fc") != std::string::npos &&
                              (name.find("ippsAdd_") == 0 || name.find("ippsSub_") == 0));
  const int32_t least = name.find("StdDev") != std::string::npos ? 2 : 1;
  const auto expectRefused = [&call](const CallSettings& settings, int32_t status) {
    const CallOutcome outcome = call.Run(settings);
    EXPECT_EQ(outcome.status, status) << settings.length << " null " << settings.nullPointer;
    EXPECT_TRUE(outcome.isUntouched && outcome.areGuardsIntact);
  };
  for (int32_t length = -1; length < least; ++length) {
    expectRefused({.length = length}, -6);
  }
  expectRefused({.length = -2147483647 - 1}, -6);
  for (std::size_t i = 0; i < call.ParameterNames().size(); ++i) {
    const std::string& parameter = call.ParameterNames()[i];
    const bool isOptional = parameter == "index" || parameter == "re" || parameter == "im";
    if (!call.IsPointer(i) || isOptional) continue;
    expectRefused({.length = 5, .nullPointer = i}, -8);
    expectRefused({.length = 0, .nullPointer = i}, isLengthFirst ? -6 : -8);
  }
}

std::vector<const PrimitiveCall*> AllCalls() {
  std::vector<const PrimitiveCall*> calls;
  for (const auto& call : PlainCalls())
    calls.push_back(call.get());
  return calls;
}

INSTANTIATE_TEST_SUITE_P(Plain, EveryPrimitive, testing::ValuesIn(AllCalls()),
                         [](const auto& info) { return info.param->Name(); });

}  // namespace
}  // namespace zr::test
