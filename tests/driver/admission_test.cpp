// Which devices the filter joins, and that a device which it cannot join is left as it was.
#include <string>
#include <vector>

#include "driver/admission.h"
#include "driver/driver_entry.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;

namespace {

// A driver that is loaded, and a device that it is offered.
class Admission : public testing::Test {
 protected:
  Admission() {
    pdo_->DeviceType = 0x1234;
    pdo_->Characteristics = 0x100;
    pdo_->Flags |= DO_DIRECT_IO | DO_POWER_PAGABLE | 0x00000002;
    MakeUsbDevice(pdo_);
  }
  ~Admission() override {
    if (IsHooked()) Remove();
    driver_.Unload();
    EXPECT_EQ(PoolLeakReport(), "");
  }

  bool IsHooked() const { return pdo_->AttachedDevice != nullptr; }
  NTSTATUS Offer() { return driver_.AddDevice(pdo_); }
  void Remove() { SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE); }

  Layer bus_{[](PDEVICE_OBJECT /*device*/, PIRP irp) {
    if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    return Complete(irp, STATUS_NOT_SUPPORTED);
  }};
  PDEVICE_OBJECT const pdo_ = bus_.Device();
  LoadedDriver driver_{&DriverEntry};
};

TEST_F(Admission, TheHardwareIdDecides) {
  const struct {
    std::vector<std::u16string> ids;
    bool isHooked;
  } rows[] = {
      {{u"USB\\VID_1209&PID_0001&REV_0100"}, true},
      {{u"USB"}, true},
      {{u"usb\\VID_1209"}, false},
      {{u"PCI\\VEN_8086"}, false},
      {{u"US"}, false},
      {{u"USB\\REV_8"}, false},
      {{u"USB\\rev_8000"}, false},
      {{u"USB\\REV_0800"}, true},
      {{u"USB\\REV_0100", u"USB\\REV_8"}, true},
  };
  for (const auto& row : rows) {
    SetDeviceProperties(pdo_, {.name = u"USB\\Test", .hardwareIds = row.ids, .description = u""});
    EXPECT_EQ(Offer(), STATUS_SUCCESS);
    EXPECT_EQ(IsHooked(), row.isHooked) << std::string(row.ids[0].begin(), row.ids[0].end());
    if (IsHooked()) Remove();
  }
}

TEST_F(Admission, TheRegistryKeepsItOff) {
  const std::u16string key = SoftwareKeyPath(pdo_);
  const struct {
    const char* name;
    ULONG type;
    std::string data;
    bool isHooked;
  } rows[] = {{"one", REG_DWORD, {"\1\0\0\0", 4}, false},
              {"high bit", REG_DWORD, {"\0\0\0\x80", 4}, false},
              {"zero", REG_DWORD, {"\0\0\0\0", 4}, true},
              {"other type", REG_BINARY, {"\1\0\0\0", 4}, true},
              {"other length", REG_DWORD, {"\1\0", 2}, true}};
  for (const auto& row : rows) {
    SetRegistryValue(key, u"ZRPopFltNoLoad", row.type, row.data);
    EXPECT_EQ(Offer(), STATUS_SUCCESS);
    EXPECT_EQ(IsHooked(), row.isHooked) << row.name;
    EXPECT_EQ(OpenKeyCount(), 0U);
    if (IsHooked()) Remove();
  }
  ClearRegistry();
}

TEST_F(Admission, ALengthThatGrowsIsAskedForFourTimes) {
  GrowHardwareIds(pdo_, 8, 3);
  Offer();
  EXPECT_TRUE(IsHooked());
  Remove();
  GrowHardwareIds(pdo_, 8, 5);
  Offer();
  EXPECT_FALSE(IsHooked());
  GrowHardwareIds(pdo_, 0, 0);
}

TEST_F(Admission, TheDeviceIsLikeTheOneBelow) {
  for (const ULONG inherited : {0x2010U, 0x4004U}) {
    pdo_->Flags = (pdo_->Flags & ~0x6014U) | inherited;
    Offer();
    ASSERT_TRUE(IsHooked());
    const DEVICE_OBJECT& fdo = *pdo_->AttachedDevice;
    EXPECT_EQ(fdo.DeviceType, 0x1234U);
    EXPECT_EQ(fdo.Characteristics, 0x100U);
    EXPECT_EQ(fdo.Flags & 0x6016, inherited);
    EXPECT_EQ(fdo.Flags & DO_DEVICE_INITIALIZING, 0U);
    Remove();
  }
}

TEST_F(Admission, WhatFailsLeavesNothingBehind) {
  const std::size_t devices = DeviceCount();
  FailDeviceCreations(1);
  EXPECT_EQ(Offer(), STATUS_INSUFFICIENT_RESOURCES);
  FailDeviceAttachments(1);
  EXPECT_EQ(Offer(), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(DeviceCount(), devices);
  EXPECT_FALSE(IsHooked());
  // Each allocation in turn. Without the filter's core or the service's records a device still
  // joins.
  bool hasFailed = true;
  int joined = 0;
  for (std::size_t n = 1; hasFailed; ++n) {
    const FailNthAllocation failure(n);
    const NTSTATUS status = Offer();
    hasFailed = failure.HasFailed();
    EXPECT_TRUE(status == STATUS_SUCCESS || (status == STATUS_NO_MEMORY && !IsHooked()));
    EXPECT_EQ(IsHooked(), DeviceCount() > devices);
    if (!IsHooked()) continue;
    ++joined;
    Remove();
  }
  EXPECT_GE(joined, 1);
  EXPECT_EQ(DeviceCount(), devices);
}

TEST_F(Admission, EveryMajorFunctionPassesAndWithoutAnObjectFails) {
  Offer();
  for (UCHAR major = 0; major <= IRP_MJ_MAXIMUM_FUNCTION; ++major) {
    if (major == IRP_MJ_PNP || major == IRP_MJ_POWER) continue;
    EXPECT_EQ(SendRequest(pdo_, major), STATUS_NOT_SUPPORTED) << int{major};
  }
  EXPECT_EQ(SendPowerRequest(pdo_, IRP_MN_QUERY_POWER), STATUS_NOT_SUPPORTED);
  PDEVICE_OBJECT const bare = MakeDevice(driver_, sizeof(PVOID));
  EXPECT_EQ(SendRequest(bare, IRP_MJ_CREATE), STATUS_UNSUCCESSFUL);
  IoDeleteDevice(bare);
}

}  // namespace
