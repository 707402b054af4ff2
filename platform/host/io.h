// The I/O manager: driver and device objects, IRPs with their stack locations, completion, power
// and plug-and-play requests, device properties. Records hold the published fields that drivers
// touch; those marked "host" belong to the I/O manager alone.
#pragma once

#include "platform/host/execution.h"
#include "platform/host/types.h"

struct DEVICE_OBJECT;
struct DRIVER_OBJECT;
struct IRP;
struct IO_STACK_LOCATION;
using PDEVICE_OBJECT = DEVICE_OBJECT*;
using PDRIVER_OBJECT = DRIVER_OBJECT*;
using PIRP = IRP*;
using PIO_STACK_LOCATION = IO_STACK_LOCATION*;

inline constexpr UCHAR IRP_MJ_CREATE = 0x00;
inline constexpr UCHAR IRP_MJ_CLOSE = 0x02;
inline constexpr UCHAR IRP_MJ_READ = 0x03;
inline constexpr UCHAR IRP_MJ_WRITE = 0x04;
inline constexpr UCHAR IRP_MJ_DEVICE_CONTROL = 0x0E;
inline constexpr UCHAR IRP_MJ_INTERNAL_DEVICE_CONTROL = 0x0F;
inline constexpr UCHAR IRP_MJ_POWER = 0x16;
inline constexpr UCHAR IRP_MJ_SYSTEM_CONTROL = 0x17;
inline constexpr UCHAR IRP_MJ_PNP = 0x1B;
inline constexpr UCHAR IRP_MJ_MAXIMUM_FUNCTION = 0x1B;

inline constexpr UCHAR IRP_MN_START_DEVICE = 0x00;
inline constexpr UCHAR IRP_MN_QUERY_REMOVE_DEVICE = 0x01;
inline constexpr UCHAR IRP_MN_REMOVE_DEVICE = 0x02;
inline constexpr UCHAR IRP_MN_CANCEL_REMOVE_DEVICE = 0x03;
inline constexpr UCHAR IRP_MN_STOP_DEVICE = 0x04;
inline constexpr UCHAR IRP_MN_QUERY_STOP_DEVICE = 0x05;
inline constexpr UCHAR IRP_MN_QUERY_INTERFACE = 0x08;
inline constexpr UCHAR IRP_MN_SURPRISE_REMOVAL = 0x17;
inline constexpr UCHAR IRP_MN_SET_POWER = 0x02;
inline constexpr UCHAR IRP_MN_QUERY_POWER = 0x03;

inline constexpr UCHAR SL_PENDING_RETURNED = 0x01;
inline constexpr UCHAR SL_INVOKE_ON_CANCEL = 0x20;
inline constexpr UCHAR SL_INVOKE_ON_SUCCESS = 0x40;
inline constexpr UCHAR SL_INVOKE_ON_ERROR = 0x80;

inline constexpr CCHAR IO_NO_INCREMENT = 0;

inline constexpr ULONG DO_BUFFERED_IO = 0x00000004;
inline constexpr ULONG DO_DIRECT_IO = 0x00000010;
inline constexpr ULONG DO_DEVICE_INITIALIZING = 0x00000080;
inline constexpr ULONG DO_POWER_PAGABLE = 0x00002000;
inline constexpr ULONG DO_POWER_INRUSH = 0x00004000;

inline constexpr DEVICE_TYPE FILE_DEVICE_UNKNOWN = 0x22;

using DRIVER_INITIALIZE = NTSTATUS NTAPI(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);
using DRIVER_ADD_DEVICE = NTSTATUS NTAPI(PDRIVER_OBJECT driver, PDEVICE_OBJECT physicalDevice);
using DRIVER_DISPATCH = NTSTATUS NTAPI(PDEVICE_OBJECT device, PIRP irp);
using DRIVER_UNLOAD = VOID NTAPI(PDRIVER_OBJECT driver);
using DRIVER_CANCEL = VOID NTAPI(PDEVICE_OBJECT device, PIRP irp);
using IO_COMPLETION_ROUTINE = NTSTATUS NTAPI(PDEVICE_OBJECT device, PIRP irp, PVOID context);
using PDRIVER_INITIALIZE = DRIVER_INITIALIZE*;
using PDRIVER_ADD_DEVICE = DRIVER_ADD_DEVICE*;
using PDRIVER_DISPATCH = DRIVER_DISPATCH*;
using PDRIVER_UNLOAD = DRIVER_UNLOAD*;
using PDRIVER_CANCEL = DRIVER_CANCEL*;
using PIO_COMPLETION_ROUTINE = IO_COMPLETION_ROUTINE*;

struct IO_STATUS_BLOCK {
  NTSTATUS Status;
  ULONG_PTR Information;
};
using PIO_STATUS_BLOCK = IO_STATUS_BLOCK*;

struct DRIVER_EXTENSION {
  PDRIVER_OBJECT DriverObject;
  PDRIVER_ADD_DEVICE AddDevice;
};

struct DRIVER_OBJECT {
  PDEVICE_OBJECT DeviceObject;  ///< First of the driver's devices.
  DRIVER_EXTENSION* DriverExtension;
  PDRIVER_UNLOAD DriverUnload;
  PDRIVER_DISPATCH MajorFunction[IRP_MJ_MAXIMUM_FUNCTION + 1];
};

struct DEVICE_OBJECT {
  LONG ReferenceCount;
  PDRIVER_OBJECT DriverObject;
  PDEVICE_OBJECT NextDevice;
  PDEVICE_OBJECT AttachedDevice;  ///< The device above.
  ULONG Flags;
  ULONG Characteristics;
  PVOID DeviceExtension;
  DEVICE_TYPE DeviceType;
  CCHAR StackSize;
  PVOID HostState;  ///< host
};

struct INTERFACE {
  USHORT Size;
  USHORT Version;
  PVOID Context;
  PVOID InterfaceReference;
  PVOID InterfaceDereference;
};
using PINTERFACE = INTERFACE*;

struct IO_STACK_LOCATION {
  UCHAR MajorFunction;
  UCHAR MinorFunction;
  UCHAR Flags;
  UCHAR Control;
  union {
    struct {
      ULONG OutputBufferLength;
      ULONG InputBufferLength;
      ULONG IoControlCode;
      PVOID Type3InputBuffer;
    } DeviceIoControl;
    struct {
      const GUID* InterfaceType;
      USHORT Size;
      USHORT Version;
      PINTERFACE Interface;
      PVOID InterfaceSpecificData;
    } QueryInterface;
    struct {
      PVOID Argument1;
      PVOID Argument2;
      PVOID Argument3;
      PVOID Argument4;
    } Others;
  } Parameters;
  PDEVICE_OBJECT DeviceObject;
  PVOID FileObject;
  PIO_COMPLETION_ROUTINE CompletionRoutine;
  PVOID Context;
};

struct IRP {
  SHORT Type;
  USHORT Size;
  ULONG Flags;
  IO_STATUS_BLOCK IoStatus;
  BOOLEAN PendingReturned;
  CCHAR StackCount;
  CCHAR CurrentLocation;
  BOOLEAN Cancel;
  KIRQL CancelIrql;
  PDRIVER_CANCEL CancelRoutine;
  PIO_STATUS_BLOCK UserIosb;
  PKEVENT UserEvent;
  PVOID UserBuffer;
  struct {
    struct {
      PVOID DriverContext[4];
      LIST_ENTRY ListEntry;
      PIO_STACK_LOCATION CurrentStackLocation;
    } Overlay;
  } Tail;
  PVOID HostState;  ///< host
};

/// Extension and device are zeroed; DO_DEVICE_INITIALIZING is set, StackSize is 1. PASSIVE_LEVEL.
extern "C" NTSTATUS IoCreateDevice(PDRIVER_OBJECT driver, ULONG extensionSize, PUNICODE_STRING name,
                                   DEVICE_TYPE type, ULONG characteristics, BOOLEAN exclusive,
                                   PDEVICE_OBJECT* device);
/// The memory goes once the last reference has gone. PASSIVE_LEVEL.
extern "C" VOID IoDeleteDevice(PDEVICE_OBJECT device);
/// Puts source on top of target's stack, sets its StackSize, gives the device just below it, or
/// null.
extern "C" PDEVICE_OBJECT IoAttachDeviceToDeviceStack(PDEVICE_OBJECT source, PDEVICE_OBJECT target);
/// Takes the device above target off it.
extern "C" VOID IoDetachDevice(PDEVICE_OBJECT target);
/// The top of the stack, referenced.
extern "C" PDEVICE_OBJECT IoGetAttachedDeviceReference(PDEVICE_OBJECT device);
extern "C" LONG_PTR FASTCALL ObfDereferenceObject(PVOID object);
inline VOID ObDereferenceObject(PVOID object) {
  ObfDereferenceObject(object);
}

/// The maker takes its IRP back in a completion routine that returns
/// STATUS_MORE_PROCESSING_REQUIRED, and frees it, or sends it again.
extern "C" PIRP IoAllocateIrp(CCHAR stackSize, BOOLEAN chargeQuota);
extern "C" VOID IoFreeIrp(PIRP irp);
/// For PNP, READ, WRITE, FLUSH and SHUTDOWN; the I/O manager frees the IRP, fills the status block
/// and sets the event once it is complete. PASSIVE_LEVEL.
extern "C" PIRP IoBuildSynchronousFsdRequest(ULONG majorFunction, PDEVICE_OBJECT device,
                                             PVOID buffer, ULONG length,
                                             PLARGE_INTEGER startingOffset, PKEVENT event,
                                             PIO_STATUS_BLOCK ioStatusBlock);

extern "C" NTSTATUS FASTCALL IofCallDriver(PDEVICE_OBJECT device, PIRP irp);
extern "C" VOID FASTCALL IofCompleteRequest(PIRP irp, CCHAR priorityBoost);
inline NTSTATUS IoCallDriver(PDEVICE_OBJECT device, PIRP irp) {
  return IofCallDriver(device, irp);
}
inline VOID IoCompleteRequest(PIRP irp, CCHAR boost) {
  IofCompleteRequest(irp, boost);
}

extern "C" BOOLEAN IoCancelIrp(PIRP irp);
extern "C" VOID IoAcquireCancelSpinLock(PKIRQL irql);
extern "C" VOID IoReleaseCancelSpinLock(KIRQL irql);
extern "C" PDRIVER_CANCEL IoSetCancelRoutine(PIRP irp, PDRIVER_CANCEL routine);

/// Power requests: the next one may start; pass one down. Each driver calls the first before the
/// IRP leaves its stack location, downward or upward, and passes on with the second alone.
extern "C" VOID PoStartNextPowerIrp(PIRP irp);
extern "C" NTSTATUS PoCallDriver(PDEVICE_OBJECT device, PIRP irp);

/// Inline operations of the published headers. An IRP that has been freed, as the end of its
/// completion does, and a location beyond either end of the stack are bug checks.
PIO_STACK_LOCATION IoGetCurrentIrpStackLocation(PIRP irp);
PIO_STACK_LOCATION IoGetNextIrpStackLocation(PIRP irp);
VOID IoSkipCurrentIrpStackLocation(PIRP irp);
VOID IoCopyCurrentIrpStackLocationToNext(PIRP irp);
VOID IoSetCompletionRoutine(PIRP irp, PIO_COMPLETION_ROUTINE routine, PVOID context,
                            BOOLEAN onSuccess, BOOLEAN onError, BOOLEAN onCancel);
VOID IoMarkIrpPending(PIRP irp);

enum DEVICE_REGISTRY_PROPERTY {
  DevicePropertyDeviceDescription = 0,
  DevicePropertyHardwareID = 1,
};

/// Too small a buffer: STATUS_BUFFER_TOO_SMALL, with the needed length. PASSIVE_LEVEL.
extern "C" NTSTATUS IoGetDeviceProperty(PDEVICE_OBJECT physicalDevice,
                                        DEVICE_REGISTRY_PROPERTY property, ULONG bufferLength,
                                        PVOID buffer, PULONG resultLength);
