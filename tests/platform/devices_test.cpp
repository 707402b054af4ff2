// The life of devices and drivers, and the bug checks that misuse of them meets.
#include <utility>

#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;

namespace {

TEST(DeviceTest, StackSizesAndLinks) {
  Layer bottom;
  Layer middle(bottom.Device());
  Layer top(bottom.Device());  // The stack below may be named by any of its devices.
  EXPECT_EQ(1, bottom.Device()->StackSize);
  EXPECT_EQ(3, top.Device()->StackSize);
  EXPECT_EQ(middle.Device(), top.Lower());
  EXPECT_EQ(middle.Device(), bottom.Device()->AttachedDevice);
}

TEST(DeviceTest, MemoryGoesWithTheLastReferenceAndTheLastDeviceOnTop) {
  const std::size_t before = DeviceCount();
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver);
  EXPECT_EQ(lower, IoAttachDeviceToDeviceStack(upper, lower));
  EXPECT_EQ(upper, IoGetAttachedDeviceReference(lower));
  EXPECT_EQ(upper, IoGetAttachedDeviceReference(lower));

  IoDeleteDevice(lower);  // As a bus does, before the drivers above are through with it.
  EXPECT_EQ(before + 2, DeviceCount());
  IoDetachDevice(lower);
  EXPECT_EQ(before + 1, DeviceCount());
  IoDeleteDevice(upper);
  EXPECT_EQ(nullptr, driver.Object()->DeviceObject);
  PDEVICE_OBJECT late = MakeDevice(driver);
  EXPECT_EQ(nullptr, IoAttachDeviceToDeviceStack(late, upper));
  IoDeleteDevice(late);
  EXPECT_EQ(1, ObfDereferenceObject(upper));
  EXPECT_EQ(before + 1, DeviceCount());
  EXPECT_EQ(0, ObfDereferenceObject(upper));
  EXPECT_EQ(before, DeviceCount());
}

TEST(DeviceTest, Refusals) {
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver);
  lower->Flags |= DO_DEVICE_INITIALIZING;
  EXPECT_EQ(nullptr, IoAttachDeviceToDeviceStack(upper, lower));
  FailIrpAllocations(1);
  EXPECT_EQ(nullptr, PnpRequest(lower).irp);
  // The driver has no routine of its own for these.
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, SendPnpRequest(upper, IRP_MN_START_DEVICE));
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, SendPowerRequest(upper, IRP_MN_SET_POWER));
  IoDeleteDevice(upper);
  IoDeleteDevice(lower);
}

TEST(DeviceMisuse, IsABugCheck) {
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver, 3);
  PDEVICE_OBJECT gone = MakeDevice(driver);
  IoDeleteDevice(gone);
  const auto attach = [](PDEVICE_OBJECT above, PDEVICE_OBJECT below) {
    return [=] { IoAttachDeviceToDeviceStack(above, below); };
  };
  const auto remove = [](PDEVICE_OBJECT device) { return [=] { IoDeleteDevice(device); }; };
  ExpectBugChecks({
      {"deleting", kViolation, "has been deleted", remove(gone)},
      {"attaching", kViolation, "has been deleted", attach(upper, gone)},
      {"referring", kViolation, "has been deleted", [&] { IoGetAttachedDeviceReference(gone); }},
      {"calling", kViolation, "has been deleted", [&] { IoCallDriver(gone, MakeOwnIrp(lower)); }},
      {"detaching", kViolation, "nothing is attached", [&] { IoDetachDevice(lower); }},
      {"dereferring", kViolation, "nobody holds a reference", [&] { ObfDereferenceObject(lower); }},
  });
  IoAttachDeviceToDeviceStack(upper, lower);
  ExpectBugChecks({
      {"deleting", kViolation, "still attached", remove(upper)},
      {"attaching", kViolation, "attached already", attach(upper, lower)},
      {"a circle", kViolation, "stand on itself", attach(lower, upper)},
  });
  IoDetachDevice(lower);
  auto* const extension = static_cast<UCHAR*>(upper->DeviceExtension);
  extension[3] ^= 1;
  ExpectBugChecks({
      {"high", kIrqlNotLessOrEqual, "IoDeleteDevice may run at IRQL 0", remove(upper),
       DISPATCH_LEVEL},
      {"an overrun", kBadPoolHeader, "the extension has 3 bytes", remove(upper)},
  });
  extension[3] ^= 1;
  IoGetAttachedDeviceReference(upper);
  IoDeleteDevice(upper);
  ExpectBugChecks({{"deleting twice", kViolation, "deleted before", remove(upper)}});
  ObDereferenceObject(upper);
  IoDeleteDevice(lower);
}

TEST(DriverMisuse, IsABugCheck) {
  static PDEVICE_OBJECT left;
  PDRIVER_INITIALIZE enter = [](PDRIVER_OBJECT driver, PUNICODE_STRING) -> NTSTATUS {
    driver->DriverExtension->AddDevice = [](PDRIVER_OBJECT self, PDEVICE_OBJECT) -> NTSTATUS {
      return IoCreateDevice(self, 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &left);
    };
    return STATUS_SUCCESS;
  };
  LoadedDriver bus(EnterPlainDriver);
  PDEVICE_OBJECT physical = MakeDevice(bus);
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, bus.AddDevice(physical));
  LoadedDriver driver(enter);
  ExpectBugChecks({{"still initialising", kViolation, "DO_DEVICE_INITIALIZING",
                    [&] { driver.AddDevice(physical); }}});
  IoGetAttachedDeviceReference(left);
  IoDeleteDevice(left);
  ExpectBugChecks({{"a device is left", kViolation, "device objects left after its unload",
                    [&] { driver.Unload(); }}});
  ObDereferenceObject(left);
  IoDeleteDevice(physical);

  PDRIVER_INITIALIZE fail = [](PDRIVER_OBJECT, PUNICODE_STRING) -> NTSTATUS {
    return STATUS_INSUFFICIENT_RESOURCES;
  };
  EXPECT_THROW(LoadedDriver failed(fail), std::runtime_error);
}

}  // namespace
