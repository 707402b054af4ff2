#include "tests/usbaudio/intercepted_device.h"

namespace zr::test {
namespace {

struct Extension {
  InterceptedDevice* self;
};

InterceptedDevice& SelfOf(PDEVICE_OBJECT device) {
  return *static_cast<Extension*>(device->DeviceExtension)->self;
}

NTSTATUS NTAPI BottomDispatch(PDEVICE_OBJECT device, PIRP irp) {
  return SelfOf(device).answer(irp);
}

NTSTATUS NTAPI TopDispatch(PDEVICE_OBJECT device, PIRP irp) {
  return DispatchTop(SelfOf(device), irp);
}

template <PDRIVER_DISPATCH dispatch>
NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = dispatch;
  return STATUS_SUCCESS;
}

PDEVICE_OBJECT MakeDevice(PDRIVER_OBJECT driver, InterceptedDevice* self) {
  PDEVICE_OBJECT device = nullptr;
  EXPECT_EQ(
      IoCreateDevice(driver, sizeof(Extension), nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &device),
      STATUS_SUCCESS);
  static_cast<Extension*>(device->DeviceExtension)->self = self;
  device->Flags &= ~DO_DEVICE_INITIALIZING;
  return device;
}

// Ends a request of the test: the IRP stays with its maker.
struct Ending {
  KEVENT event;
  bool wasPending = false;
};
NTSTATUS NTAPI KeepIrp(PDEVICE_OBJECT /*device*/, PIRP irp, PVOID context) {
  auto* const ending = static_cast<Ending*>(context);
  ending->wasPending = irp->PendingReturned != 0;
  KeSetEvent(&ending->event, IO_NO_INCREMENT, FALSE);
  return STATUS_MORE_PROCESSING_REQUIRED;
}

void Append(std::vector<UCHAR>& bytes, const std::vector<UCHAR>& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

NTSTATUS DispatchTop(InterceptedDevice& self, PIRP irp) {
  if (RemoveLockAcquire(irp, &self.lock_) != STATUS_SUCCESS) {
    return CompleteWith(irp, STATUS_DELETE_PENDING);
  }
  ULONG handled = 0;
  const NTSTATUS taken = self.interception_->Dispatch(irp, &handled);
  if (handled != 0) return taken;
  EXPECT_EQ(taken, STATUS_SUCCESS);
  ++self.passedThrough;
  IoSkipCurrentIrpStackLocation(irp);
  const NTSTATUS status = IoCallDriver(self.lower_, irp);
  RemoveLockRelease(irp, &self.lock_);
  return status;
}

InterceptedDevice::InterceptedDevice() : InterceptedDevice(nullptr) {}

InterceptedDevice::InterceptedDevice(PDEVICE_OBJECT bottom)
    : answer([](PIRP irp) { return CompleteWith(irp, STATUS_SUCCESS); }),
      bottomDriver_(&Enter<&BottomDispatch>),
      topDriver_(&Enter<&TopDispatch>) {
  RemoveLockInit(&lock_);
  if (bottom == nullptr) bottom = ownBottom_ = MakeDevice(bottomDriver_.Object(), this);
  top_ = MakeDevice(topDriver_.Object(), this);
  lower_ = IoAttachDeviceToDeviceStack(top_, bottom);
  interception_ = new (NonPagedPool) CUSBIRPs;
  EXPECT_EQ(interception_->Init(top_, lower_, bottom, nullptr, &lock_), STATUS_SUCCESS);
}

InterceptedDevice::~InterceptedDevice() {
  EXPECT_EQ(interception_->RequestsInFlight(), 0);
  EXPECT_EQ(lock_.Count, 1) << "holds that were not given back";
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock_), STATUS_SUCCESS);
  RemoveLockReleaseAndWait(nullptr, &lock_);
  delete interception_;
  IoDetachDevice(lower_);
  IoDeleteDevice(top_);
  if (ownBottom_ != nullptr) IoDeleteDevice(ownBottom_);
}

NTSTATUS InterceptedDevice::Send(UCHAR major, ULONG ioControlCode, PVOID argument) {
  Ending ending;
  KeInitializeEvent(&ending.event, NotificationEvent, FALSE);
  PIRP irp = IoAllocateIrp(top_->StackSize, FALSE);
  PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(irp);
  location->MajorFunction = major;
  location->Parameters.DeviceIoControl.IoControlCode = ioControlCode;
  location->Parameters.Others.Argument1 = argument;
  IoSetCompletionRoutine(irp, &KeepIrp, &ending, TRUE, TRUE, TRUE);
  const NTSTATUS status = IoCallDriver(top_, irp);
  KeWaitForSingleObject(&ending.event, Executive, KernelMode, FALSE, nullptr);
  wasPending = ending.wasPending;
  IoFreeIrp(irp);
  return status;
}

NTSTATUS InterceptedDevice::SelectConfiguration(const std::vector<UCHAR>& descriptor) {
  URB urb = {};
  std::vector<UCHAR> copy = descriptor;
  urb.UrbHeader.Function = URB_FUNCTION_SELECT_CONFIGURATION;
  urb.UrbSelectConfiguration.ConfigurationDescriptor =
      descriptor.empty() ? nullptr : reinterpret_cast<PUSB_CONFIGURATION_DESCRIPTOR>(copy.data());
  return SendUrb(&urb);
}

NTSTATUS InterceptedDevice::SelectInterfaceOfLength(UCHAR alternateSetting, USHORT length) {
  URB urb = {};
  urb.UrbHeader.Function = URB_FUNCTION_SELECT_INTERFACE;
  urb.UrbSelectInterface.Interface.Length = length;
  urb.UrbSelectInterface.Interface.AlternateSetting = alternateSetting;
  return SendUrb(&urb);
}

void InterceptedDevice::SelectFormat(UCHAR bits, UCHAR channels, ULONG hertz) {
  SelectConfiguration(ConfigurationOf({TypeOneFormat(bits, channels, {hertz})}));
  SelectInterface(1);
}

std::vector<UCHAR> ConfigurationOf(const std::vector<std::vector<UCHAR>>& formatDescriptors) {
  std::vector<UCHAR> bytes = {9, 2, 0, 0, 2, 1, 0, 0x80, 50};
  UCHAR setting = 1;
  for (const auto& format : formatDescriptors) {
    Append(bytes, {9, 4, 1, setting++, 1, 1, 2, 0, 0});
    Append(bytes, format);
  }
  // The walk wants more than two bytes behind the last cursor; real ones end in an endpoint.
  Append(bytes, {9, 5, 0x81, 5, 0, 1, 4, 0, 0});
  bytes[2] = static_cast<UCHAR>(bytes.size());
  bytes[3] = static_cast<UCHAR>(bytes.size() >> 8);
  return bytes;
}

std::vector<UCHAR> TypeOneFormat(UCHAR bits, UCHAR channels, const std::vector<ULONG>& hertz) {
  std::vector<UCHAR> bytes = {static_cast<UCHAR>(8 + 3 * hertz.size()),
                              0x24,
                              2,
                              1,
                              channels,
                              static_cast<UCHAR>(bits / 8),
                              bits,
                              static_cast<UCHAR>(hertz.size())};
  for (const ULONG rate : hertz) {
    for (const int shift : {0, 8, 16})
      bytes.push_back(static_cast<UCHAR>(rate >> shift));
  }
  return bytes;
}

}  // namespace zr::test
