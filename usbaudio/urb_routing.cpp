// Which requests are taken on their way down: the two selections, and isochronous transfers while
// the filter is not disabled. Nothing of a URB is changed here.
#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "usbaudio/usb_irps.h"

namespace {

bool IsOfInterest(USHORT function) {
  return function == URB_FUNCTION_SELECT_CONFIGURATION ||
         function == URB_FUNCTION_SELECT_INTERFACE || function == URB_FUNCTION_ISOCH_TRANSFER;
}

}  // namespace

NTSTATUS CUSBIRPs::Dispatch(PIRP Irp, ULONG* pHandled) {
  InterlockedIncrement(&m_lRequestsInFlight);
  const UCHAR major = IoGetCurrentIrpStackLocation(Irp)->MajorFunction;
  g_USBIrpsLog.Log(3, "CUSBIRPs::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n",
                   LogWord(m_pFDO), unsigned{major});
  NTSTATUS status = STATUS_SUCCESS;
  if (major == IRP_MJ_INTERNAL_DEVICE_CONTROL) status = DispatchInternalDeviceIO(Irp, pHandled);
  // A request that was taken may be back already, and this object gone with it.
  if (*pHandled == 0) InterlockedDecrement(&m_lRequestsInFlight);
  return status;
}

NTSTATUS CUSBIRPs::DispatchInternalDeviceIO(PIRP Irp, ULONG* pHandled) {
  const ULONG code = IoGetCurrentIrpStackLocation(Irp)->Parameters.DeviceIoControl.IoControlCode;
  g_USBIrpsLog.Log(3, "CUSBIRPs::DispatchInternalDeviceIO> Received:%s (0x%lx) in IRP:0x%lx\n",
                   kNoLogName, LogWord(code), LogWord(Irp));
  return code == IOCTL_INTERNAL_USB_SUBMIT_URB ? HandleURB(Irp, pHandled) : STATUS_SUCCESS;
}

NTSTATUS CUSBIRPs::HandleURB(PIRP Irp, ULONG* pHandled) {
  const auto* const urb =
      static_cast<PURB>(IoGetCurrentIrpStackLocation(Irp)->Parameters.Others.Argument1);
  if (urb == nullptr) {
    g_USBIrpsLog.Log(kLogWarning | 2, "CUSBIRPs::HandleURB> Invalid URB was passed!!\n");
    return STATUS_SUCCESS;
  }
  const USHORT function = urb->UrbHeader.Function;
  g_USBIrpsLog.Log(4, "CUSBIRPs::HandleURB> Received:%s (0x%lx)\n", kNoLogName,
                   LogWord(ULONG{function}));
  if (!IsOfInterest(function)) return STATUS_SUCCESS;
  g_USBIrpsLog.Log(3, "CUSBIRPs::HandleURB> Received:%s (0x%lx) by CDevice:(0x%lx)\n", kNoLogName,
                   LogWord(ULONG{function}), LogWord(m_pDevice));
  const bool isAudio = function == URB_FUNCTION_ISOCH_TRANSFER;
  if (isAudio && g_ulDisablePopFilter.load(std::memory_order_relaxed) != 0) return STATUS_SUCCESS;

  auto* const context =
      static_cast<IRPContext*>(ExAllocateFromNPagedLookasideList(&m_IrpContextList));
  if (context == nullptr) {
    g_USBIrpsLog.Log(kLogError | 1, "CUSBIRPs::HandleURB> no memory for IRP context!!\n");
    return STATUS_SUCCESS;
  }
  *context = {Irp, this, isAudio ? urb->UrbIsochronousTransfer.TransferBufferLength : 0};
  IoCopyCurrentIrpStackLocationToNext(Irp);
  IoSetCompletionRoutine(Irp, &CompletionThunk, context, TRUE, TRUE, TRUE);
  const NTSTATUS status = IofCallDriver(m_pLowerDevice, Irp);
  *pHandled = 1;
  if (NT_SUCCESS(status)) return status;
  // The completion routine marks every failed request pending, as the other half of this.
  g_USBIrpsLog.Log(3,
                   "CUSBIRPs::HandleURB> IRP failed so we might be retrying it: returning "
                   "STATUS_PENDING!\n");
  return STATUS_PENDING;
}
