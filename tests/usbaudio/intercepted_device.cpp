#include "tests/usbaudio/intercepted_device.h"

namespace zr::test {
namespace {

// Ends a request of the test: the IRP stays with its maker.
struct Ending {
  KEVENT event;
  bool wasPending = false;
};
NTSTATUS NTAPI EndRequest(PDEVICE_OBJECT /*device*/, PIRP irp, PVOID context) {
  auto* const ending = static_cast<Ending*>(context);
  ending->wasPending = irp->PendingReturned != 0;
  KeSetEvent(&ending->event, IO_NO_INCREMENT, FALSE);
  return STATUS_MORE_PROCESSING_REQUIRED;
}

void Append(std::vector<UCHAR>& bytes, const std::vector<UCHAR>& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

InterceptedDevice::InterceptedDevice(PDEVICE_OBJECT bottom)
    : answer([](PIRP irp) { return Complete(irp, STATUS_SUCCESS); }),
      ownBottom_([this](PDEVICE_OBJECT /*device*/, PIRP irp) { return answer(irp); }),
      top_(bottom == nullptr ? ownBottom_.Device() : bottom) {
  top_.dispatch = [this](PDEVICE_OBJECT /*device*/, PIRP irp) { return DispatchTop(irp); };
  RemoveLockInit(&lock_);
  interception_ = new (NonPagedPool) CUSBIRPs;
  EXPECT_EQ(interception_->Init(Top(), top_.Lower(), top_.Lower(), nullptr, &lock_),
            STATUS_SUCCESS);
}

InterceptedDevice::~InterceptedDevice() {
  EXPECT_EQ(interception_->RequestsInFlight(), 0);
  EXPECT_EQ(lock_.Count, 1) << "holds that were not given back";
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock_), STATUS_SUCCESS);
  RemoveLockReleaseAndWait(nullptr, &lock_);
  delete interception_;
}

NTSTATUS InterceptedDevice::DispatchTop(PIRP irp) {
  if (RemoveLockAcquire(irp, &lock_) != STATUS_SUCCESS) {
    return Complete(irp, STATUS_DELETE_PENDING);
  }
  ULONG handled = 0;
  const NTSTATUS taken = interception_->Dispatch(irp, &handled);
  if (handled != 0) return taken;
  EXPECT_EQ(taken, STATUS_SUCCESS);
  ++passedThrough;
  IoSkipCurrentIrpStackLocation(irp);
  const NTSTATUS status = IoCallDriver(top_.Lower(), irp);
  RemoveLockRelease(irp, &lock_);
  return status;
}

NTSTATUS InterceptedDevice::Send(UCHAR major, ULONG ioControlCode, PVOID argument) {
  Ending ending;
  KeInitializeEvent(&ending.event, NotificationEvent, FALSE);
  PIRP irp = MakeOwnIrp(Top(), major);
  PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(irp);
  location->Parameters.DeviceIoControl.IoControlCode = ioControlCode;
  location->Parameters.Others.Argument1 = argument;
  IoSetCompletionRoutine(irp, &EndRequest, &ending, TRUE, TRUE, TRUE);
  const NTSTATUS status = IoCallDriver(Top(), irp);
  WaitForEver(&ending.event);
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
