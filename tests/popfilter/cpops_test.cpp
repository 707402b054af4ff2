// The guards of the object around the filter, in their order, and the floating-point bracket.
#include "popfilter/cpops.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <string>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "platform/host/control/io_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "popfilter/pops.h"
#include "support/perf_hooks.h"
#include "support/tracked_allocator.h"

namespace {

class GuardedFilter : public testing::Test {
 protected:
  GuardedFilter() {
    PerfHooksInit();
    PoolTrackInit();
  }
  ~GuardedFilter() override {
    PoolTrackShutdown();
    PerfHooksShutdown();
    EXPECT_EQ(zr::host::PoolLeakReport(), "");
  }

  static CPOPS* Make(ULONG* status, PDEVICE_OBJECT device = nullptr) {
    return new (NonPagedPool) CPOPS(device, 0x504F505A, status);
  }
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
  ULONG status = 99;
  CPOPS* const whole = Make(&status);
  EXPECT_EQ(status, POPS_OK);
  CPOPS* hollow = nullptr;
  {
    // The filter's object itself, then the record of its core.
    const zr::host::FailNthAllocation failure(2);
    hollow = Make(&status);
    EXPECT_TRUE(failure.HasFailed());
  }
  EXPECT_EQ(status, POPS_ERR_NOMEM);
  ExpectAnswers(*whole, {POPS_ERR_NULLARG, POPS_OK}, "whole");
  ExpectAnswers(*hollow, {POPS_ERR_NOTREADY, POPS_ERR_NOTREADY}, "without a core");
  {
    const zr::host::FailFloatingPointSave failure;
    ULONG value = 0;
    EXPECT_EQ(whole->GetParameter(2, &value), POPS_ERR_NOTREADY);
    EXPECT_EQ(value, 0U) << "the core was not entered";
    EXPECT_EQ(whole->GetParameter(2, nullptr), POPS_ERR_NULLARG);
    EXPECT_EQ(zr::host::FloatingPointDepth(), 0U);
  }
  {
    const zr::host::AtIrql high(DISPATCH_LEVEL + 1);
    ExpectAnswers(*whole, {POPS_ERR_PARAM, POPS_ERR_PARAM}, "too high");
    ExpectAnswers(*hollow, {POPS_ERR_PARAM, POPS_ERR_PARAM}, "too high, without a core");
  }
  delete whole;
  delete hollow;
}

TEST_F(GuardedFilter, CoreStatusesComeThrough) {
  ULONG status = 99;
  CPOPS* const filter = Make(&status);
  ULONG value[2] = {};
  ULONG size = 8;
  EXPECT_EQ(filter->GetParameterBlock(2, value, &size), POPS_ERR_PARAM);
  EXPECT_EQ(filter->SetParameter(POPS_ID_BITS, 24), POPS_ERR_PARAM);
  EXPECT_EQ(filter->SetParameter(POPS_ID_RATE, 44100), POPS_OK);
  EXPECT_EQ(filter->GetParameter(POPS_ID_RATE, value), POPS_OK);
  EXPECT_EQ(value[0], 44100U);
  delete filter;
}

// The caller's floating-point state is its own: one in which every rounding traps harms no
// operation, and comes back as it was.
TEST_F(GuardedFilter, FloatingPointRunsInsideItsBracketOnly) {
  std::vector<int16_t> samples(4000, 12345);
  ULONG value = 33;
  ULONG size = sizeof(value);
  ULONG status = 99;
  // A rounding from before would trap late on the x87.
  std::feclearexcept(FE_ALL_EXCEPT);
  feenableexcept(FE_INEXACT);
  CPOPS* const filter = Make(&status);
  const ULONG answers[] = {
      status,
      filter->SetParameter(POPS_ID_FLOOR, value),
      filter->SetParameterBlock(POPS_ID_FLOOR, &value, size),
      filter->GetParameter(POPS_ID_FLOOR, &value),
      filter->GetParameterBlock(POPS_ID_FLOOR, &value, &size),
      filter->SubmitPinData(0, samples.data(), 8000, samples.data(), 8000, 0),
  };
  delete filter;
  const int trapping = fegetexcept();
  fedisableexcept(FE_INEXACT);
  EXPECT_EQ(trapping, FE_INEXACT);
  for (const ULONG answer : answers)
    EXPECT_EQ(answer, POPS_OK);
}

TEST_F(GuardedFilter, NothingLeaksWhateverFails) {
  for (std::size_t failing = 2; failing <= 7; ++failing) {
    const zr::host::FailNthAllocation failure(failing);
    ULONG status = 99;
    CPOPS* const filter = Make(&status);
    ASSERT_NE(filter, nullptr);
    delete filter;
  }
  const zr::host::FailFloatingPointSave failure;
  ULONG status = 99;
  CPOPS* const filter = Make(&status);
  EXPECT_EQ(status, POPS_ERR_NOTREADY);
  delete filter;
}

NTSTATUS NTAPI EmptyEntry(PDRIVER_OBJECT /*driver*/, PUNICODE_STRING /*path*/) {
  return STATUS_SUCCESS;
}

TEST_F(GuardedFilter, ADevicesKeyIsOpenedAndClosedWithoutAValue) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const zr::host::LoadedDriver bus(&EmptyEntry);
  PDEVICE_OBJECT device = nullptr;
  ASSERT_EQ(IoCreateDevice(bus.Object(), 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &device),
            STATUS_SUCCESS);
  zr::host::SetDeviceProperties(device, {u"Camera", {u"USB\\VID_1"}, u"camera"});
  ULONG status = 99;
  CPOPS* const filter = Make(&status, device);
  EXPECT_EQ(status, POPS_OK);
  EXPECT_EQ(zr::host::OpenKeyCount(), 0U);
  {
    // Where a key must not be opened, the attempt shows.
    const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
    EXPECT_DEATH(Make(&status, device), "IoOpenDeviceRegistryKey");
    EXPECT_DEATH(delete filter, "IoOpenDeviceRegistryKey");
  }
  delete filter;
  EXPECT_EQ(zr::host::OpenKeyCount(), 0U);
  IoDeleteDevice(device);
  zr::host::ClearRegistry();
}

}  // namespace
