#include "platform/host/microphone/usb_microphone.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "platform/host/control/execution_control.h"

namespace zr::host {
namespace {

// One driver object for each microphone, so that its device alone tells which one it is.
UsbMicrophone*& OwnerOf(PDEVICE_OBJECT device) {
  return *static_cast<UsbMicrophone**>(device->DeviceExtension);
}

NTSTATUS Complete(PIRP irp, NTSTATUS status) {
  irp->IoStatus.Status = status;
  irp->IoStatus.Information = 0;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
}

// The bus driver ends every plug-and-play request: what it does not know keeps its status.
NTSTATUS NTAPI DispatchPnp(PDEVICE_OBJECT /*device*/, PIRP irp) {
  switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
    case IRP_MN_QUERY_INTERFACE:
      return Complete(irp, irp->IoStatus.Status);
    default:
      return Complete(irp, STATUS_SUCCESS);
  }
}

NTSTATUS NTAPI DispatchPower(PDEVICE_OBJECT /*device*/, PIRP irp) {
  PoStartNextPowerIrp(irp);
  return Complete(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI DispatchOther(PDEVICE_OBJECT /*device*/, PIRP irp) {
  return Complete(irp, STATUS_INVALID_DEVICE_REQUEST);
}

PURB UrbOf(PIRP irp) {
  return static_cast<PURB>(IoGetCurrentIrpStackLocation(irp)->Parameters.Others.Argument1);
}

}  // namespace

NTSTATUS NTAPI UsbMicrophone::Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &DispatchOther;
  driver->MajorFunction[IRP_MJ_PNP] = &DispatchPnp;
  driver->MajorFunction[IRP_MJ_POWER] = &DispatchPower;
  driver->MajorFunction[IRP_MJ_INTERNAL_DEVICE_CONTROL] = &DispatchUrb;
  return STATUS_SUCCESS;
}

UsbMicrophone::UsbMicrophone(AudioFeed feed, const MicrophoneBehaviour& behaviour)
    : feed_(std::move(feed)), behaviour_(behaviour), driver_(&Enter), random_(behaviour.seed) {
  const NTSTATUS status = IoCreateDevice(driver_.Object(), sizeof(PVOID), nullptr,
                                         FILE_DEVICE_UNKNOWN, 0, FALSE, &device_);
  if (!NT_SUCCESS(status)) throw std::runtime_error("the microphone's device cannot be created");
  OwnerOf(device_) = this;
  SetDeviceProperties(device_, {.name = u"USB\\Microphone",
                                .hardwareIds = {u"USB\\VID_1209&PID_0001&REV_0100&MI_02",
                                                u"USB\\VID_1209&PID_0001&MI_02"},
                                .description = u"USB camera microphone"});
  device_->Flags &= ~DO_DEVICE_INITIALIZING;
  controller_ = std::thread([this] { CompleteWaiting(); });
}

UsbMicrophone::~UsbMicrophone() {
  {
    const std::lock_guard guard(lock_);
    isStopping_ = true;
  }
  isChanged_.notify_all();
  controller_.join();
  IoDeleteDevice(device_);
}

bool UsbMicrophone::IsDrained() const {
  const std::lock_guard guard(lock_);
  return feedHasEnded_ && !isCompleting_;
}

std::vector<UCHAR> UsbMicrophone::Delivered() const {
  const std::lock_guard guard(lock_);
  return delivered_;
}

NTSTATUS NTAPI UsbMicrophone::DispatchUrb(PDEVICE_OBJECT device, PIRP irp) {
  UsbMicrophone& self = *OwnerOf(device);
  const IO_STACK_LOCATION& location = *IoGetCurrentIrpStackLocation(irp);
  if (location.Parameters.DeviceIoControl.IoControlCode != IOCTL_INTERNAL_USB_SUBMIT_URB) {
    return Complete(irp, STATUS_INVALID_DEVICE_REQUEST);
  }
  PURB const urb = UrbOf(irp);
  NTSTATUS status = STATUS_NOT_SUPPORTED;
  switch (urb->UrbHeader.Function) {
    case URB_FUNCTION_ISOCH_TRANSFER:
      return self.StartTransfer(irp, urb->UrbIsochronousTransfer);
    case URB_FUNCTION_SELECT_CONFIGURATION:
      status = self.SelectConfiguration(urb->UrbSelectConfiguration);
      break;
    case URB_FUNCTION_SELECT_INTERFACE:
      status = self.SelectInterface(urb->UrbSelectInterface.Interface);
      break;
    default:
      break;
  }
  urb->UrbHeader.Status = NT_SUCCESS(status) ? USBD_STATUS_SUCCESS : USBD_STATUS_INVALID_PARAMETER;
  return Complete(irp, status);
}

NTSTATUS UsbMicrophone::SelectConfiguration(_URB_SELECT_CONFIGURATION& urb) {
  const std::lock_guard guard(lock_);
  setting_ = nullptr;
  isConfigured_ = urb.ConfigurationDescriptor != nullptr;
  if (!isConfigured_) return STATUS_SUCCESS;
  if (urb.ConfigurationDescriptor->bConfigurationValue != kCameraConfigurationValue) {
    isConfigured_ = false;
    return STATUS_INVALID_PARAMETER;
  }
  urb.ConfigurationHandle = this;
  return STATUS_SUCCESS;
}

NTSTATUS UsbMicrophone::SelectInterface(USBD_INTERFACE_INFORMATION& selected) {
  const std::lock_guard guard(lock_);
  const MicrophoneSetting* const setting = FindMicrophoneSetting(selected.AlternateSetting);
  const bool isKnown = setting != nullptr || selected.AlternateSetting == 0;
  const ULONG pipes = setting != nullptr ? 1 : 0;
  if (!isConfigured_ || !isKnown || selected.InterfaceNumber != kMicrophoneInterface ||
      selected.Length < InterfaceInformationLength(pipes)) {
    return STATUS_INVALID_PARAMETER;
  }
  setting_ = setting;
  selected.NumberOfPipes = pipes;
  if (setting == nullptr) return STATUS_SUCCESS;
  plan_.emplace(*setting, behaviour_);
  selected.Pipes[0].EndpointAddress = kMicrophoneEndpoint;
  selected.Pipes[0].MaximumPacketSize = setting->MaximumPacketSize();
  selected.Pipes[0].PipeHandle = const_cast<MicrophoneSetting*>(setting);
  return STATUS_SUCCESS;
}

bool UsbMicrophone::Happens(uint32_t thousandths) {
  return random_() % 1000 < thousandths;
}

// The packets lie apart in the buffer by their size, as the class driver has laid them out.
bool UsbMicrophone::IsTransferSound(const _URB_ISOCH_TRANSFER& transfer) const {
  if (setting_ == nullptr || transfer.PipeHandle != setting_) return false;
  if (transfer.TransferBuffer == nullptr) return false;
  return std::all_of(transfer.IsoPacket, transfer.IsoPacket + transfer.NumberOfPackets,
                     [&](const USBD_ISO_PACKET_DESCRIPTOR& packet) {
                       return ULONGLONG{packet.Offset} + setting_->MaximumPacketSize() <=
                              transfer.TransferBufferLength;
                     });
}

NTSTATUS UsbMicrophone::StartTransfer(PIRP irp, _URB_ISOCH_TRANSFER& transfer) {
  bool isPrompt = false;
  if (std::atomic_ref(irp->Cancel).load() != FALSE) {
    transfer.Hdr.Status = USBD_STATUS_CANCELED;
    return Complete(irp, STATUS_CANCELLED);
  }
  {
    const std::lock_guard guard(lock_);
    if (!IsTransferSound(transfer) || Happens(behaviour_.refusedTransfers)) {
      transfer.Hdr.Status = USBD_STATUS_INVALID_PARAMETER;
    } else {
      transfer.Hdr.Status = USBD_STATUS_SUCCESS;
      isPrompt = waiting_.empty() && !isCompleting_ && Happens(behaviour_.promptTransfers);
      isCompleting_ = isCompleting_ || isPrompt;
    }
    if (USBD_SUCCESS(transfer.Hdr.Status) && !isPrompt) {
      // Marked before it waits: it can be back before this routine has returned.
      IoMarkIrpPending(irp);
      IoSetCancelRoutine(irp, &CancelTransfer);
      waiting_.push_back(irp);
      isChanged_.notify_all();
      return STATUS_PENDING;
    }
  }
  if (!isPrompt) return Complete(irp, STATUS_INVALID_PARAMETER);
  const NTSTATUS status = FillTransfer(transfer);
  Complete(irp, status);
  {
    const std::lock_guard guard(lock_);
    isCompleting_ = false;
  }
  isChanged_.notify_all();
  return status;
}

// A transfer that is not waiting any more is about to come back by itself.
VOID NTAPI UsbMicrophone::CancelTransfer(PDEVICE_OBJECT device, PIRP irp) {
  UsbMicrophone& self = *OwnerOf(device);
  IoReleaseCancelSpinLock(irp->CancelIrql);
  {
    const std::lock_guard guard(self.lock_);
    std::erase(self.waiting_, irp);
  }
  UrbOf(irp)->UrbHeader.Status = USBD_STATUS_CANCELED;
  Complete(irp, STATUS_CANCELLED);
}

PIRP UsbMicrophone::TakeWaiting() {
  std::unique_lock guard(lock_);
  while (true) {
    isChanged_.wait(guard, [this] { return (!waiting_.empty() && !isCompleting_) || isStopping_; });
    if (waiting_.empty() || isCompleting_) return nullptr;
    PIRP const irp = waiting_.front();
    waiting_.pop_front();
    // Without its cancel routine it belongs to that one, which is running.
    if (IoSetCancelRoutine(irp, nullptr) == nullptr) continue;
    isCompleting_ = true;
    return irp;
  }
}

void UsbMicrophone::CompleteWaiting() {
  while (PIRP const irp = TakeWaiting()) {
    {
      const AtIrql dispatch(DISPATCH_LEVEL);
      const NTSTATUS status = FillTransfer(UrbOf(irp)->UrbIsochronousTransfer);
      Complete(irp, status);
    }
    {
      const std::lock_guard guard(lock_);
      isCompleting_ = false;
    }
    isChanged_.notify_all();
  }
}

// As a host controller: packets that fail leave rubbish behind, and the length becomes the number
// of bytes that were moved.
NTSTATUS UsbMicrophone::FillTransfer(_URB_ISOCH_TRANSFER& transfer) {
  constexpr UCHAR kRubbish = 0xA5;
  const std::lock_guard guard(lock_);
  if (Happens(behaviour_.failedTransfers)) {
    transfer.Hdr.Status = USBD_STATUS_DATA_OVERRUN;
    return STATUS_UNSUCCESSFUL;
  }
  ULONG moved = 0;
  transfer.ErrorCount = 0;
  for (ULONG i = 0; i < transfer.NumberOfPackets; ++i) {
    USBD_ISO_PACKET_DESCRIPTOR& packet = transfer.IsoPacket[i];
    UCHAR* const bytes = static_cast<UCHAR*>(transfer.TransferBuffer) + packet.Offset;
    const PlannedPacket planned = plan_->Next();
    packet.Length = static_cast<ULONG>(feed_(bytes, planned.bytes));
    feedHasEnded_ = feedHasEnded_ || packet.Length < planned.bytes;
    moved += packet.Length;
    packet.Status = planned.fails ? USBD_STATUS_CRC : USBD_STATUS_SUCCESS;
    if (planned.fails) {
      std::fill_n(bytes, packet.Length, kRubbish);
      ++transfer.ErrorCount;
    } else {
      delivered_.insert(delivered_.end(), bytes, bytes + packet.Length);
    }
  }
  transfer.TransferBufferLength = moved;
  return STATUS_SUCCESS;
}

}  // namespace zr::host
