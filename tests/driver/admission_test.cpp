// Which devices the filter joins, and that a device which it cannot join is left as it was.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/admission.h"
#include "driver/driver_entry.h"
#include "platform/host/control/io_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "support/tracked_allocator.h"

using zr::host::LoadedDriver;

namespace {

NTSTATUS NTAPI CompleteAll(PDEVICE_OBJECT /*device*/, PIRP irp) {
  if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return STATUS_NOT_SUPPORTED;
}
NTSTATUS NTAPI EnterBus(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &CompleteAll;
  return STATUS_SUCCESS;
}

// A driver that is loaded, and a device that it is offered.
class Admission : public testing::Test {
 protected:
  Admission() : bus_(&EnterBus), driver_(&DriverEntry) {
    IoCreateDevice(bus_.Object(), 0, nullptr, 0x1234, 0x100, FALSE, &pdo_);
    pdo_->Flags |= DO_DIRECT_IO | DO_POWER_PAGABLE | 0x00000002;
    pdo_->Flags &= ~DO_DEVICE_INITIALIZING;
    SetIds({u"USB\\VID_1209&PID_0001&REV_0100"});
  }
  ~Admission() override {
    if (IsHooked()) zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
    IoDeleteDevice(pdo_);
    driver_.Unload();
    EXPECT_EQ(zr::host::PoolLeakReport(), "");
  }

  void SetIds(std::vector<std::u16string> ids) {
    zr::host::SetDeviceProperties(
        pdo_, {.name = u"USB\\Test", .hardwareIds = std::move(ids), .description = u""});
  }
  bool IsHooked() const { return pdo_->AttachedDevice != nullptr; }
  NTSTATUS Offer() { return driver_.AddDevice(pdo_); }

  LoadedDriver bus_;
  LoadedDriver driver_;
  PDEVICE_OBJECT pdo_ = nullptr;
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
    SetIds(row.ids);
    EXPECT_EQ(Offer(), STATUS_SUCCESS);
    EXPECT_EQ(IsHooked(), row.isHooked) << std::string(row.ids[0].begin(), row.ids[0].end());
    if (IsHooked()) zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
  }
}

TEST_F(Admission, TheRegistryKeepsItOff) {
  const std::u16string key = zr::host::SoftwareKeyPath(pdo_);
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
    zr::host::SetRegistryValue(key, u"ZRPopFltNoLoad", row.type, row.data);
    EXPECT_EQ(Offer(), STATUS_SUCCESS);
    EXPECT_EQ(IsHooked(), row.isHooked) << row.name;
    EXPECT_EQ(zr::host::OpenKeyCount(), 0U);
    if (IsHooked()) zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
  }
  zr::host::ClearRegistry();
}

TEST_F(Admission, ALengthThatGrowsIsAskedForFourTimes) {
  zr::host::GrowHardwareIds(pdo_, 8, 3);
  Offer();
  EXPECT_TRUE(IsHooked());
  zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
  zr::host::GrowHardwareIds(pdo_, 8, 5);
  Offer();
  EXPECT_FALSE(IsHooked());
  zr::host::GrowHardwareIds(pdo_, 0, 0);
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
    zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
  }
}

TEST_F(Admission, WhatFailsLeavesNothingBehind) {
  const std::size_t devices = zr::host::DeviceCount();
  zr::host::FailDeviceCreations(1);
  EXPECT_LT(Offer(), 0);
  zr::host::FailDeviceAttachments(1);
  EXPECT_EQ(Offer(), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(zr::host::DeviceCount(), devices);
  EXPECT_FALSE(IsHooked());
  // Each allocation in turn. Without the filter's core or the service's records a device still
  // joins.
  bool hasFailed = true;
  int joined = 0;
  for (std::size_t n = 1; hasFailed; ++n) {
    const zr::host::FailNthAllocation failure(n);
    const NTSTATUS status = Offer();
    hasFailed = failure.HasFailed();
    EXPECT_TRUE(status == STATUS_SUCCESS || status == STATUS_NO_MEMORY);
    EXPECT_EQ(IsHooked(), zr::host::DeviceCount() > devices);
    EXPECT_TRUE(status == STATUS_SUCCESS || !IsHooked());
    if (!IsHooked()) continue;
    ++joined;
    zr::host::SendPnpRequest(pdo_, IRP_MN_REMOVE_DEVICE);
  }
  EXPECT_GE(joined, 1);
  EXPECT_EQ(zr::host::DeviceCount(), devices);
}

TEST_F(Admission, EveryMajorFunctionPassesAndWithoutAnObjectFails) {
  Offer();
  for (UCHAR major = 0; major <= IRP_MJ_MAXIMUM_FUNCTION; ++major) {
    if (major == IRP_MJ_PNP || major == IRP_MJ_POWER) continue;
    EXPECT_EQ(zr::host::SendRequest(pdo_, major), STATUS_NOT_SUPPORTED) << int{major};
  }
  EXPECT_EQ(zr::host::SendPowerRequest(pdo_, IRP_MN_QUERY_POWER), STATUS_NOT_SUPPORTED);
  PDEVICE_OBJECT bare = nullptr;
  IoCreateDevice(driver_.Object(), sizeof(PVOID), nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &bare);
  bare->Flags &= ~DO_DEVICE_INITIALIZING;
  EXPECT_EQ(zr::host::SendRequest(bare, IRP_MJ_CREATE), STATUS_UNSUCCESSFUL);
  IoDeleteDevice(bare);
}

}  // namespace
