// The audio interception of one device: sees every request of the stack, learns the stream's format
// from the descriptors and selections that pass by, and cleans the audio of completed isochronous
// transfers. Routing, descriptors and completion are files of their own beside the object's.
#pragma once

#include <cstddef>

#include "platform/kernel.h"
#include "support/remove_lock.h"

class CDevice;
class CPOPSBase;
class CUSBIRPs;

/// Alternate settings that have a row in the format table.
inline constexpr ULONG MAX_ALT_SETS_SUPPORTED = 20;

/// One row of the format table: what a format type descriptor says of an alternate setting.
struct AltSetFormat {
  ULONG Valid;  ///< 1 when the row describes a usable format.
  USHORT BitsPerSample;
  USHORT Channel;
  ULONG SamplesPerSecond;
};

/// Travels with an intercepted request from the way down to its completion.
struct IRPContext {
  PIRP Irp;
  CUSBIRPs* pUSBIRPs;
  ULONG TransferBufferSize;  ///< Of an isochronous transfer. The host controller overwrites the
                             ///< length in the URB by what it moved.
};

class CUSBIRPs {
 public:
  CUSBIRPs();
  ~CUSBIRPs();
  CUSBIRPs(const CUSBIRPs&) = delete;
  CUSBIRPs& operator=(const CUSBIRPs&) = delete;

  static void* operator new(std::size_t size, POOL_TYPE poolType) noexcept;
  static void operator delete(void* object);
  static void operator delete(void* object, POOL_TYPE poolType);

  /// Second stage, at PASSIVE_LEVEL. Always STATUS_SUCCESS.
  NTSTATUS Init(PDEVICE_OBJECT pFDO, PDEVICE_OBJECT pLowerDevice, PDEVICE_OBJECT pPDO,
                CDevice* pDevice, RemoveLock* pRemoveLock);

  /// Whether the constructor got all its memory. An object without must not come into service; one
  /// whose filter has no core may, and its audio passes unfiltered.
  bool IsComplete() const;

  /// Offers a request at up to DISPATCH_LEVEL; *pHandled is 0 on entry. If it stays 0, nothing has
  /// happened to the request and the result means nothing. If it is 1, the request has been sent
  /// down, the result is what the dispatch must return, and the completion routine releases the
  /// hold on the remove lock that the caller has taken.
  NTSTATUS Dispatch(PIRP Irp, ULONG* pHandled);

  /// Reads the formats out of a configuration descriptor of at least four bytes, whose length it
  /// tells itself. Null is allowed. At up to DISPATCH_LEVEL.
  void ParseConfigurationDescriptor(const UCHAR* pDescriptor);

  const AltSetFormat& FormatOf(ULONG alternateSetting) const {
    return m_pAltSetFormats[alternateSetting];
  }
  LONG RequestsInFlight() const { return m_lRequestsInFlight; }

 private:
  NTSTATUS DispatchInternalDeviceIO(PIRP Irp, ULONG* pHandled);
  NTSTATUS HandleURB(PIRP Irp, ULONG* pHandled);

  bool ParseStreamingDescriptor(const UCHAR* pDescriptor, UCHAR SubClass, UCHAR AlternateSetting);
  bool ParseFormatTypeDescriptor(const UCHAR* pDescriptor, UCHAR AlternateSetting);

  static NTSTATUS NTAPI CompletionThunk(PDEVICE_OBJECT DeviceObject, PIRP Irp, PVOID pContext);
  NTSTATUS CompletionRoutine(IRPContext* pContext);
  void CompleteIsochTransfer(const IRPContext& context, _URB_ISOCH_TRANSFER& transfer);
  void CompleteSelectInterface(const USBD_INTERFACE_INFORMATION& selected);
  void CompleteSelectConfiguration(PUSB_CONFIGURATION_DESCRIPTOR descriptor);
  void PutFormatInForce(const AltSetFormat& format);
  ULONG FilterGathered(ULONG length);

  // Fields in their order.
  KSPIN_LOCK m_ConfigLock;  // Guards m_pConfigDescriptor while it is replaced.
  PDEVICE_OBJECT m_pFDO;
  PDEVICE_OBJECT m_pLowerDevice;  // Target of every intercepted request.
  PDEVICE_OBJECT m_pPDO;
  CDevice* m_pDevice;                      // The owner.
  LONG m_lRequestsInFlight;                // Interlocked; no decision depends on it.
  RemoveLock* m_pRemoveLock;               // The owner's.
  NPAGED_LOOKASIDE_LIST m_IrpContextList;  // Source of IRPContext records.
  PUCHAR m_pConfigDescriptor;              // Owned copy, may be null.
  AltSetFormat* m_pAltSetFormats;          // Owned, by alternate setting alone.
  CPOPSBase* m_pCPOPS;                     // Owned.
  ULONG m_ulBytesPerFrame;                 // 0 until a format is selected.
  ULONG m_ulChannels;
  ULONG m_ulSamplesPerSecond;
  ULONG m_ulBitsPerSample;
  KSPIN_LOCK m_DataLock;    // Guards the format, all below, and the filter.
  PUCHAR m_pIsoBuffer;      // Owned; while it is null no audio is touched.
  ULONG m_ulIsoBufferSize;  // 40 ms of the selected format.
  UCHAR m_ucHeldByte;
  ULONG m_ulHeldByteValid;  // 1 when m_ucHeldByte goes first into the next transfer.
};
