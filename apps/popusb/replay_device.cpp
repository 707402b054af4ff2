#include "apps/popusb/replay_device.h"

#include <algorithm>
#include <string>

#include "apps/popclean/failure.h"

namespace zr::popusb {

NTSTATUS NTAPI ReplayDevice::Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &Dispatch;
  return STATUS_SUCCESS;
}

ReplayDevice::ReplayDevice(DeviceAddress address) : driver_(&Enter) {
  if (!NT_SUCCESS(IoCreateDevice(driver_.Object(), sizeof(PVOID), nullptr, FILE_DEVICE_UNKNOWN, 0,
                                 FALSE, &device_))) {
    throw popclean::Failure("there is not enough memory for the recorded device");
  }
  *static_cast<ReplayDevice**>(device_->DeviceExtension) = this;
  const std::string name =
      "USB\\Bus" + std::to_string(address.bus) + "Device" + std::to_string(address.device);
  const std::u16string wideName(name.begin(), name.end());
  host::SetDeviceProperties(
      device_,
      {.name = wideName, .hardwareIds = {wideName}, .description = u"Recorded USB device"});
  device_->Flags &= ~DO_DEVICE_INITIALIZING;
}

ReplayDevice::~ReplayDevice() {
  IoDeleteDevice(device_);
}

// A query for an interface keeps its status, as nobody here has any.
NTSTATUS NTAPI ReplayDevice::Dispatch(PDEVICE_OBJECT device, PIRP irp) {
  const ReplayDevice& self = **static_cast<ReplayDevice**>(device->DeviceExtension);
  const IO_STACK_LOCATION& location = *IoGetCurrentIrpStackLocation(irp);
  NTSTATUS status = STATUS_SUCCESS;
  if (location.MajorFunction == IRP_MJ_INTERNAL_DEVICE_CONTROL) {
    status = self.AnswerUrb(static_cast<PURB>(location.Parameters.Others.Argument1));
  } else if (location.MinorFunction == IRP_MN_QUERY_INTERFACE) {
    status = irp->IoStatus.Status;
  }
  irp->IoStatus.Status = status;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
}

NTSTATUS ReplayDevice::AnswerUrb(PURB urb) const {
  urb->UrbHeader.Status = USBD_STATUS_SUCCESS;
  if (urb->UrbHeader.Function != URB_FUNCTION_ISOCH_TRANSFER) return STATUS_SUCCESS;
  return Fill(urb->UrbIsochronousTransfer);
}

// The recorder's codes differ; to the stack a failure is a failure. So is a packet of which not all
// was recorded.
NTSTATUS ReplayDevice::Fill(_URB_ISOCH_TRANSFER& transfer) const {
  const IsochCompleted& recorded = *recorded_;
  std::ranges::copy(recorded.data, static_cast<UCHAR*>(transfer.TransferBuffer));
  for (std::size_t i = 0; i < recorded.packets.size(); ++i) {
    const IsochPacket& packet = recorded.packets[i];
    const bool isWhole = uint64_t{packet.offset} + packet.length <= recorded.data.size();
    transfer.IsoPacket[i] = {
        .Offset = packet.offset,
        .Length = packet.length,
        .Status = packet.status == 0 && isWhole ? USBD_STATUS_SUCCESS : USBD_STATUS_CRC};
  }
  transfer.TransferBufferLength = static_cast<ULONG>(recorded.data.size());
  if (recorded.status == 0) return STATUS_SUCCESS;
  transfer.Hdr.Status = USBD_STATUS_DATA_OVERRUN;
  return STATUS_UNSUCCESSFUL;
}

}  // namespace zr::popusb
