// What happens when a request comes back: audio is gathered out of its packets, cleaned, and laid
// back; a selection of an interface puts a format in force; one of a configuration brings new
// descriptors. At up to DISPATCH_LEVEL, on any number of processors at once.
#include <cstring>

#include "popfilter/cpops.h"
#include "popfilter/pops.h"
#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "support/tracked_new.h"
#include "usbaudio/iso_packets.h"
#include "usbaudio/usb_irps.h"

namespace {

class SpinLockHold {
 public:
  explicit SpinLockHold(KSPIN_LOCK& lock) : lock_(lock), oldIrql_(KfAcquireSpinLock(&lock)) {}
  ~SpinLockHold() { KfReleaseSpinLock(&lock_, oldIrql_); }
  SpinLockHold(const SpinLockHold&) = delete;
  SpinLockHold& operator=(const SpinLockHold&) = delete;

 private:
  KSPIN_LOCK& lock_;
  const KIRQL oldIrql_;
};

}  // namespace

NTSTATUS NTAPI CUSBIRPs::CompletionThunk(PDEVICE_OBJECT /*DeviceObject*/, PIRP /*Irp*/,
                                         PVOID pContext) {
  auto* const context = static_cast<IRPContext*>(pContext);
  return context->pUSBIRPs->CompletionRoutine(context);
}

NTSTATUS CUSBIRPs::CompletionRoutine(IRPContext* pContext) {
  PIRP const Irp = pContext->Irp;
  if (Irp->PendingReturned) IoMarkIrpPending(Irp);
  if (!NT_SUCCESS(Irp->IoStatus.Status)) {
    g_USBIrpsLog.Log(3,
                     "CUSBIRPs::CompletionRoutine> Marking pending because Dispatch WILL return "
                     "STATUS_PENDING!\n");
    IoMarkIrpPending(Irp);
  }

  auto* const urb =
      static_cast<PURB>(IoGetCurrentIrpStackLocation(Irp)->Parameters.Others.Argument1);
  switch (urb->UrbHeader.Function) {
    case URB_FUNCTION_ISOCH_TRANSFER:
      CompleteIsochTransfer(*pContext, urb->UrbIsochronousTransfer);
      break;
    case URB_FUNCTION_SELECT_INTERFACE:
      CompleteSelectInterface(urb->UrbSelectInterface.Interface);
      break;
    case URB_FUNCTION_SELECT_CONFIGURATION:
      CompleteSelectConfiguration(urb->UrbSelectConfiguration.ConfigurationDescriptor);
      break;
    default:
      g_USBIrpsLog.Log(kLogError | 1, "CUSBIRPs::CompletionRoutine> HOW DID WE GET HERE??|\n");
      break;
  }

  ExFreeToNPagedLookasideList(&m_IrpContextList, pContext);
  InterlockedDecrement(&m_lRequestsInFlight);
  // The last that is touched: the device may be gone once the hold is.
  RemoveLockRelease(Irp, m_pRemoveLock);
  return STATUS_SUCCESS;
}

void CUSBIRPs::CompleteIsochTransfer(const IRPContext& context, _URB_ISOCH_TRANSFER& transfer) {
  if (transfer.TransferBuffer == nullptr || !USBD_SUCCESS(transfer.Hdr.Status) ||
      !NT_SUCCESS(context.Irp->IoStatus.Status)) {
    return;
  }
  const SpinLockHold hold(m_DataLock);
  if (m_pIsoBuffer == nullptr) return;

  IsoPackets packets(transfer, context.TransferBufferSize);
  Gathered gathered = {.total = 0, .good = 0, .overrun = Gathered::kNoOverrun};
  if (m_ulHeldByteValid != 0) {
    m_pIsoBuffer[0] = m_ucHeldByte;
    gathered.total = 1;
    m_ulHeldByteValid = 0;
  }
  packets.Gather(m_pIsoBuffer, m_ulIsoBufferSize, gathered);
  if (gathered.overrun != Gathered::kNoOverrun) {
    g_USBIrpsLog.Log(2, "!!!!URB has more than 40ms buffer... ISO Packet No. - %d !!!!\n",
                     static_cast<int>(gathered.overrun));
  }
  if (gathered.total == 0 || gathered.good == 0) return;

  ULONG share = (gathered.total + gathered.good - 1) / gathered.good;
  if (share % m_ulBytesPerFrame != 0) ++share;
  ULONG length = gathered.total;
  if (length % m_ulBytesPerFrame != 0) {
    --length;
    m_ucHeldByte = m_pIsoBuffer[length];
    m_ulHeldByteValid = 1;
  }
  const ULONG result = FilterGathered(length);
  if (result != POPS_OK) {
    g_USBIrpsLog.Log(2, "m_pCPOPS->SubmitPinData Failed status 0x%x\n",
                     static_cast<unsigned>(result));
  }
  // A held byte in front can make the audio longer than the buffer that it came from.
  if (length > context.TransferBufferSize) {
    const ULONG whole = context.TransferBufferSize / m_ulBytesPerFrame * m_ulBytesPerFrame;
    g_USBIrpsLog.Log(2, "CUSBIRPs::CompletionRoutine> No room in the URB for the last %d bytes\n",
                     static_cast<int>(length - whole));
    length = whole;
  }
  packets.Scatter(m_pIsoBuffer, length, share);
}

ULONG CUSBIRPs::FilterGathered(ULONG length) {
  PerfHooks.PerfSpanStart(kStatFilterTime);
  const ULONG result = m_pCPOPS->SubmitPinData(0, m_pIsoBuffer, length, m_pIsoBuffer, length, 0);
  PerfHooks.PerfSpanStop(kStatFilterTime);
  return result;
}

void CUSBIRPs::CompleteSelectInterface(const USBD_INTERFACE_INFORMATION& selected) {
  if (selected.AlternateSetting >= MAX_ALT_SETS_SUPPORTED) {
    g_USBIrpsLog.Log(2,
                     "CompletionRoutine>> URB_FUNCTION_SELECT_INTERFACE AlternateSetting >= "
                     "MAX_ALT_SETS_SUPPORTED \n");
    return;
  }
  // A setting without pipes stops the stream: format, buffer and filter outlast it.
  if (selected.Length < sizeof(USBD_INTERFACE_INFORMATION)) return;

  const AltSetFormat& format = m_pAltSetFormats[selected.AlternateSetting];
  g_USBIrpsLog.Log(2,
                   "CUSBIRPs::CompletionRoutine> URB_FUNCTION_SELECT_INTERFACE AlternateSetting "
                   "No - %d \n",
                   int{selected.AlternateSetting});
  g_USBIrpsLog.Log(2, "Audio Streaming Format: \n");
  g_USBIrpsLog.Log(2, "\tChannel: %d\n", int{format.Channel});
  g_USBIrpsLog.Log(2, "\tBitsPerSample: %d\n", int{format.BitsPerSample});
  g_USBIrpsLog.Log(2, "\tSamplesPerSecond: %d\n", static_cast<int>(format.SamplesPerSecond));
  if (format.Valid != 0) PutFormatInForce(format);
  {
    const SpinLockHold hold(m_DataLock);
    m_pCPOPS->SetParameter(POPS_ID_FLUSH, 1);
  }
  PerfHooks.PerfSpanReset(kStatFilterTime);
}

// Under the data lock, so that a late transfer sees the old format and buffer or the new ones; the
// new buffer is made before it is taken and the old one freed after.
void CUSBIRPs::PutFormatInForce(const AltSetFormat& format) {
  const ULONG bytesPerFrame = ULONG{format.BitsPerSample} * format.Channel / 8;
  const ULONG bufferSize = format.SamplesPerSecond * bytesPerFrame * 40 / 1000;
  auto* const newBuffer = new (NonPagedPool) UCHAR[bufferSize]();
  PUCHAR oldBuffer = nullptr;
  {
    const SpinLockHold hold(m_DataLock);
    m_ulChannels = format.Channel;
    m_ulSamplesPerSecond = format.SamplesPerSecond;
    m_ulBitsPerSample = format.BitsPerSample;
    // Refused values leave the filter as it was; there is no bypass for other formats.
    m_pCPOPS->SetParameter(POPS_ID_BITS, format.BitsPerSample);
    m_pCPOPS->SetParameter(POPS_ID_RATE, format.SamplesPerSecond);
    m_pCPOPS->SetParameter(POPS_ID_CHANNELS, format.Channel);
    m_ulBytesPerFrame = bytesPerFrame;
    m_ulIsoBufferSize = bufferSize;
    oldBuffer = m_pIsoBuffer;
    m_pIsoBuffer = newBuffer;
    m_ulHeldByteValid = 0;
  }
  if (oldBuffer != nullptr) PoolFreeTracked(oldBuffer);
}

void CUSBIRPs::CompleteSelectConfiguration(PUSB_CONFIGURATION_DESCRIPTOR descriptor) {
  constexpr USHORT kShortestWalk = 4;
  USHORT length = 0;
  {
    const SpinLockHold hold(m_ConfigLock);
    if (m_pConfigDescriptor != nullptr) PoolFreeTracked(m_pConfigDescriptor);
    m_pConfigDescriptor = nullptr;
    if (descriptor != nullptr) {
      g_USBIrpsLog.Log(2, "CUSBIRPs::CompletionRoutine> URB_FUNCTION_SELECT_CONFIGURATION\n");
      length = descriptor->wTotalLength;
      m_pConfigDescriptor = new (NonPagedPool) UCHAR[length];
      if (m_pConfigDescriptor != nullptr) {
        std::memcpy(m_pConfigDescriptor, descriptor, length);
        // The walk takes its end from the copy, whose size this is, whatever was copied.
        if (length >= kShortestWalk) {
          std::memcpy(m_pConfigDescriptor + offsetof(USB_CONFIGURATION_DESCRIPTOR, wTotalLength),
                      &length, sizeof(length));
        }
        g_USBIrpsLog.Log(3, "CUSBIRPs::CompletionRoutine> Got new descriptor!\n");
      }
    }
  }
  ParseConfigurationDescriptor(length < kShortestWalk ? nullptr : m_pConfigDescriptor);
}
