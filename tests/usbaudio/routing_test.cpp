// Which requests are taken, and what their way down and up looks like from outside.
#include <algorithm>
#include <string>
#include <thread>

#include "platform/host/control/pool_control.h"
#include "tests/support/support_fixture.h"
#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

class Routing : public testing::Test {
 protected:
  ~Routing() override { g_ulDisablePopFilter = 0; }

  LoadedServices services_;
  InterceptedDevice device_;
};

TEST_F(Routing, TheThreeFunctionsAreTaken) {
  const struct {
    USHORT function;
    ULONG disabled;
    bool isTaken;
  } rows[] = {{URB_FUNCTION_SELECT_CONFIGURATION, 0, true},
              {URB_FUNCTION_SELECT_INTERFACE, 0, true},
              {URB_FUNCTION_ISOCH_TRANSFER, 0, true},
              {URB_FUNCTION_SELECT_CONFIGURATION, 1, true},
              {URB_FUNCTION_SELECT_INTERFACE, 1, true},
              {URB_FUNCTION_ISOCH_TRANSFER, 1, false},
              {URB_FUNCTION_CONTROL_TRANSFER, 0, false},
              {URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE, 0, false},
              {0xFFFF, 0, false}};
  for (const auto& row : rows) {
    URB urb = {};
    urb.UrbHeader.Function = row.function;
    g_ulDisablePopFilter = row.disabled;
    device_.passedThrough = 0;
    EXPECT_EQ(device_.SendUrb(&urb), STATUS_SUCCESS);
    EXPECT_EQ(device_.passedThrough.load(), row.isTaken ? 0 : 1) << row.function;
  }
}

TEST_F(Routing, OtherRequestsPass) {
  URB urb = {};
  urb.UrbHeader.Function = URB_FUNCTION_ISOCH_TRANSFER;
  device_.Send(IRP_MJ_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB, &urb);
  device_.Send(IRP_MJ_INTERNAL_DEVICE_CONTROL, 0x220007, &urb);
  device_.Send(IRP_MJ_INTERNAL_DEVICE_CONTROL, IOCTL_INTERNAL_USB_SUBMIT_URB, nullptr);
  EXPECT_EQ(device_.passedThrough.load(), 3);
}

TEST_F(Routing, AFailureIsPresentedAsPending) {
  struct Row {
    NTSTATUS status;
    bool isLater;
    NTSTATUS returned;
    bool isPending;
  };
  const Row rows[] = {{STATUS_SUCCESS, false, STATUS_SUCCESS, false},
                      {STATUS_SUCCESS, true, STATUS_PENDING, true},
                      {STATUS_UNSUCCESSFUL, false, STATUS_PENDING, true},
                      {STATUS_UNSUCCESSFUL, true, STATUS_PENDING, true},
                      {STATUS_BUFFER_OVERFLOW, false, STATUS_PENDING, true}};
  for (const auto& row : rows) {
    std::thread completer;
    device_.answer = [&](PIRP irp) {
      if (!row.isLater) return Complete(irp, row.status);
      IoMarkIrpPending(irp);
      completer = std::thread([irp, &row] { Complete(irp, row.status); });
      return STATUS_PENDING;
    };
    EXPECT_EQ(device_.SelectInterface(0, 0), row.returned);
    EXPECT_EQ(device_.wasPending, row.isPending);
    if (completer.joinable()) completer.join();
  }
}

TEST_F(Routing, WhatHappensIsLoggedAtItsLevel) {
  KeepLines();
  {
    const zr::host::FailNthAllocation failure(1);
    device_.SelectInterface(1);
    EXPECT_EQ(device_.passedThrough, 1) << "it goes down unobserved";
  }
  device_.SendUrb(nullptr);
  device_.SelectConfiguration(
      ConfigurationOf({{0x0E, 0x24, 2, 1, 1, 2, 16, 0, 0x40, 0x1F, 0, 0x80, 0xBB, 0}}));
  device_.SelectFormat(16, 1, 8000);
  IsochUrb urb({{0, 1, 0}}, std::vector<UCHAR>(1));
  device_.SendUrb(urb.Urb());
  device_.answer = [&urb](PIRP irp) {
    urb.Urb()->UrbHeader.Function = URB_FUNCTION_CONTROL_TRANSFER;
    return Complete(irp, STATUS_SUCCESS);
  };
  device_.SendUrb(urb.Urb());
  const std::pair<ULONG, std::string> expected[] = {
      {1, "=>ERR ZRPOPFLT.USBIrps: CUSBIRPs::HandleURB> no memory for IRP context!!\n"},
      {2, "=>WARN ZRPOPFLT.USBIrps: CUSBIRPs::HandleURB> Invalid URB was passed!!\n"},
      {2, "ZRPOPFLT.USBIrps: tUpperSamFreq:    0x00BB80 (48000 Hz)\r\n"},
      {2, "ZRPOPFLT.USBIrps: \tChannel: 1\n"},
      {2, "ZRPOPFLT.USBIrps: m_pCPOPS->SubmitPinData Failed status 0xb\n"},
      {1, "=>ERR ZRPOPFLT.USBIrps: CUSBIRPs::CompletionRoutine> HOW DID WE GET HERE??|\n"}};
  for (const auto& line : expected)
    EXPECT_EQ(std::ranges::count(keptLines, line), 1) << line.second;
}

TEST(Construction, TellsWhatIsMissing) {
  for (std::size_t failing = 1; failing <= 8; ++failing) {
    const LoadedServices services;  // With lookaside lists that hold nothing yet.
    const zr::host::FailNthAllocation failure(failing);
    auto* const interception = new (NonPagedPool) CUSBIRPs;
    if (interception == nullptr) {
      EXPECT_EQ(failing, 1U);
      continue;
    }
    // The object, its format table, its filter; a filter without a core is complete.
    EXPECT_EQ(interception->IsComplete(), failing > 3) << failing;
    delete interception;
  }
}

}  // namespace
