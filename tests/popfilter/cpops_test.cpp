// The guards of the object around the filter, in their order, and the floating-point bracket.
#include "popfilter/cpops.h"

#include <cfenv>
#include <memory>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "popfilter/pops.h"
#include "tests/platform/device_stack.h"
#include "tests/support/support_fixture.h"

using namespace zr::host;
using namespace zr::test;

namespace {

class GuardedFilter : public SupportFixture {
 protected:
  std::unique_ptr<CPOPS> Make(PDEVICE_OBJECT device = nullptr) {
    return std::unique_ptr<CPOPS>(new (NonPagedPool) CPOPS(device, 0x504F505A, &status_));
  }

  ULONG status_ = 99;
};

// What every operation answers to arguments that it must refuse, and to legal ones.
struct Answers {
  ULONG refused;
  ULONG legal;
};

void ExpectAnswers(CPOPSBase& filter, const Answers& expected, const char* what) {
  ULONG value = 16;
  ULONG size = sizeof(value);
  ULONG empty = 0;
  int16_t samples[4] = {};
  EXPECT_EQ(filter.GetParameterBlock(2, nullptr, &size), expected.refused) << what;
  EXPECT_EQ(filter.GetParameterBlock(2, &value, nullptr), expected.refused) << what;
  EXPECT_EQ(filter.GetParameterBlock(2, &value, &empty), expected.refused) << what;
  EXPECT_EQ(filter.SetParameterBlock(2, nullptr, 4), expected.refused) << what;
  EXPECT_EQ(filter.SetParameterBlock(2, &value, 0), expected.refused) << what;
  EXPECT_EQ(filter.GetParameter(2, nullptr), expected.refused) << what;
  EXPECT_EQ(filter.SubmitPinData(0, nullptr, 8, samples, 8, 0), expected.refused) << what;
  EXPECT_EQ(filter.SubmitPinData(0, samples, 0, samples, 8, 0), expected.refused) << what;
  EXPECT_EQ(filter.SubmitPinData(1, samples, 8, nullptr, 8, 0), expected.refused) << what;
  EXPECT_EQ(filter.SubmitPinData(1, samples, 8, samples, 0, 0), expected.refused) << what;
  EXPECT_EQ(filter.GetParameterBlock(2, &value, &size), expected.legal) << what;
  EXPECT_EQ(filter.SetParameterBlock(2, &value, 4), expected.legal) << what;
  EXPECT_EQ(filter.GetParameter(2, &value), expected.legal) << what;
  EXPECT_EQ(filter.SetParameter(2, 16), expected.legal) << what;
  EXPECT_EQ(filter.SubmitPinData(0, samples, 8, nullptr, 0, 0), expected.legal) << what;
  EXPECT_EQ(filter.SubmitPinData(1, samples, 8, samples, 8, 0), expected.legal) << what;
}

TEST_F(GuardedFilter, GuardsComeInTheirOrder) {
  const auto whole = Make();
  EXPECT_EQ(status_, POPS_OK);
  std::unique_ptr<CPOPS> hollow;
  {
    // The filter's object itself, then the record of its core.
    const FailNthAllocation failure(2);
    hollow = Make();
    EXPECT_TRUE(failure.HasFailed());
  }
  EXPECT_EQ(status_, POPS_ERR_NOMEM);
  ExpectAnswers(*whole, {POPS_ERR_NULLARG, POPS_OK}, "whole");
  ExpectAnswers(*hollow, {POPS_ERR_NOTREADY, POPS_ERR_NOTREADY}, "without a core");
  {
    const FailFloatingPointSave failure;
    ULONG value = 0;
    EXPECT_EQ(whole->GetParameter(2, &value), POPS_ERR_NOTREADY);
    EXPECT_EQ(value, 0U) << "the core was not entered";
    EXPECT_EQ(whole->GetParameter(2, nullptr), POPS_ERR_NULLARG);
    EXPECT_EQ(FloatingPointDepth(), 0U);
  }
  {
    const AtIrql high(DISPATCH_LEVEL + 1);
    ExpectAnswers(*whole, {POPS_ERR_PARAM, POPS_ERR_PARAM}, "too high");
    ExpectAnswers(*hollow, {POPS_ERR_PARAM, POPS_ERR_PARAM}, "too high, without a core");
  }
}

TEST_F(GuardedFilter, CoreStatusesComeThrough) {
  const auto filter = Make();
  ULONG value[2] = {};
  ULONG size = 8;
  EXPECT_EQ(filter->GetParameterBlock(2, value, &size), POPS_ERR_PARAM);
  EXPECT_EQ(filter->SetParameter(POPS_ID_BITS, 24), POPS_ERR_PARAM);
  EXPECT_EQ(filter->SetParameter(POPS_ID_RATE, 44100), POPS_OK);
  EXPECT_EQ(filter->GetParameter(POPS_ID_RATE, value), POPS_OK);
  EXPECT_EQ(value[0], 44100U);
}

// The caller's floating-point state is its own: one in which every rounding traps harms no
// operation, and comes back as it was.
TEST_F(GuardedFilter, FloatingPointRunsInsideItsBracketOnly) {
  std::vector<int16_t> samples(4000, 12345);
  ULONG value = 33;
  ULONG size = sizeof(value);
  // A rounding from before would trap late on the x87.
  std::feclearexcept(FE_ALL_EXCEPT);
  feenableexcept(FE_INEXACT);
  auto filter = Make();
  const ULONG answers[] = {
      status_,
      filter->SetParameter(POPS_ID_FLOOR, value),
      filter->SetParameterBlock(POPS_ID_FLOOR, &value, size),
      filter->GetParameter(POPS_ID_FLOOR, &value),
      filter->GetParameterBlock(POPS_ID_FLOOR, &value, &size),
      filter->SubmitPinData(0, samples.data(), 8000, samples.data(), 8000, 0),
  };
  filter.reset();
  const int trapping = fegetexcept();
  fedisableexcept(FE_INEXACT);
  EXPECT_EQ(trapping, FE_INEXACT);
  for (const ULONG answer : answers)
    EXPECT_EQ(answer, POPS_OK);
}

TEST_F(GuardedFilter, NothingLeaksWhateverFails) {
  for (std::size_t failing = 2; failing <= 7; ++failing) {
    const FailNthAllocation failure(failing);
    ASSERT_NE(Make(), nullptr);
  }
  const FailFloatingPointSave failure;
  Make();
  EXPECT_EQ(status_, POPS_ERR_NOTREADY);
}

TEST_F(GuardedFilter, ADevicesKeyIsOpenedAndClosedWithoutAValue) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const Layer bus;
  MakeUsbDevice(bus.Device());
  auto filter = Make(bus.Device());
  EXPECT_EQ(status_, POPS_OK);
  EXPECT_EQ(OpenKeyCount(), 0U);
  // Where a key must not be opened, the attempt shows.
  const AtIrql dispatch(DISPATCH_LEVEL);
  EXPECT_DEATH(Make(bus.Device()), "IoOpenDeviceRegistryKey");
  EXPECT_DEATH(filter.reset(), "IoOpenDeviceRegistryKey");
}

}  // namespace
