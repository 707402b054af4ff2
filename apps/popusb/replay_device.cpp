#include "apps/popusb/replay_device.h"

#include <algorithm>

#include "apps/popclean/failure.h"

namespace zr::popusb {

NTSTATUS NTAPI ReplayDevice::Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &Dispatch;
  return STATUS_SUCCESS;
}

ReplayDevice::ReplayDevice() : driver_(&Enter) {
  if (!NT_SUCCESS(IoCreateDevice(driver_.Object(), sizeof(ReplayDevice*), nullptr,
                                 FILE_DEVICE_UNKNOWN, 0, FALSE, &device_))) {
    throw popclean::Failure("there is not enough memory for the recorded device");
  }
  *static_cast<ReplayDevice**>(device_->DeviceExtension) = this;
  device_->Flags &= ~DO_DEVICE_INITIALIZING;
}

ReplayDevice::~ReplayDevice() {
  IoDeleteDevice(device_);
}

NTSTATUS NTAPI ReplayDevice::Dispatch(PDEVICE_OBJECT device, PIRP irp) {
  const ReplayDevice& self = **static_cast<ReplayDevice**>(device->DeviceExtension);
  auto* const urb =
      static_cast<PURB>(IoGetCurrentIrpStackLocation(irp)->Parameters.Others.Argument1);
  NTSTATUS status = STATUS_SUCCESS;
  urb->UrbHeader.Status = USBD_STATUS_SUCCESS;
  if (urb->UrbHeader.Function == URB_FUNCTION_ISOCH_TRANSFER) {
    status = self.Fill(urb->UrbIsochronousTransfer);
  }
  irp->IoStatus.Status = status;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
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
