#include "driver/admission.h"

#include "driver/device.h"
#include "driver/device_extension.h"
#include "support/debug_log.h"
#include "support/device_value.h"
#include "support/instrumentation/perf_items.h"
#include "support/perf_hooks.h"
#include "support/tracked_new.h"

namespace {

// How the stack below wants its buffers and its power.
constexpr ULONG kInheritedFlags =
    DO_BUFFERED_IO | DO_DIRECT_IO | DO_POWER_PAGABLE | DO_POWER_INRUSH;
static_assert(kInheritedFlags == 0x6014);

void LogNotHooked(const char* format, PDEVICE_OBJECT PDO) {
  g_DrvMainLog.LogWide(kLogWarning | 1, format, LogWord(PDO));
}

bool IsUsbId(const WCHAR* id, ULONG length) {
  constexpr ULONG kPrefixLength = 3 * sizeof(WCHAR);
  return length >= kPrefixLength && id[0] == 'U' && id[1] == 'S' && id[2] == 'B';
}

}  // namespace

PAGEABLE_CODE ULONG FilterIsFilterNoLoad(PDEVICE_OBJECT PDO) {
  ULONG value = 0;
  if (!ReadDeviceDword(PDO, PLUGPLAY_REGKEY_DRIVER, WIDE_TEXT("ZRPopFltNoLoad"), &value)) return 0;
  const ULONG isSet = value != 0 ? 1 : 0;
  g_DrvMainLog.Log(2, "FilterIsFilterNoLoad> Overide Key found: Value is: %ld\n",
                   static_cast<long>(isSet));
  return isSet;
}

// Between the answer that tells the length and the next question the length may grow.
PAGEABLE_CODE PWSTR GetHardwareID(PDEVICE_OBJECT PDO, ULONG* pLength) {
  constexpr int kAttempts = 4;
  ULONG length = 0;
  NTSTATUS status = IoGetDeviceProperty(PDO, DevicePropertyHardwareID, 0, nullptr, &length);
  if (status != STATUS_BUFFER_TOO_SMALL || length == 0) {
    LogNotHooked("GetHardwareID> PDO(0x%lx): Can't get ID (#1). Not hooking this device...\n", PDO);
    return nullptr;
  }
  PUCHAR buffer = nullptr;
  ULONG size = 0;
  for (int attempt = 0; attempt < kAttempts && status != STATUS_SUCCESS; ++attempt) {
    if (buffer != nullptr) PoolFreeTracked(buffer);
    size = length;
    buffer = new (NonPagedPool) UCHAR[size];
    if (buffer == nullptr) continue;
    status = IoGetDeviceProperty(PDO, DevicePropertyHardwareID, size, buffer, &length);
  }
  if (!NT_SUCCESS(status)) {
    LogNotHooked("GetHardwareID> PDO(0x%lx): Can't get ID (#2). Not hooking this device...\n", PDO);
    if (buffer != nullptr) PoolFreeTracked(buffer);
    return nullptr;
  }
  if (pLength != nullptr) *pLength = length;
  return reinterpret_cast<PWSTR>(buffer);
}

PAGEABLE_CODE ULONG IsDeviceInList(PDRIVER_OBJECT /*DriverObject*/, PDEVICE_OBJECT PDO) {
  ULONG length = 0;
  PWSTR const id = GetHardwareID(PDO, &length);
  if (id == nullptr) return 0;
  ULONG isInList = 0;
  if (!IsUsbId(id, length)) {
    g_DrvMainLog.LogWide(
        1, "IsDeviceInList> PDO(0x%lx): ID(%S) is not a USB ID. Not hooking this device...\n",
        LogWord(PDO), id);
  } else {
    g_DrvMainLog.LogWide(2, "IsDeviceInList> PDO(0x%lx): found USB device ID(%S).\n", LogWord(PDO),
                         id);
    isInList = wcsstr(_wcsupr(id), WIDE_TEXT("REV_8")) == nullptr ? 1 : 0;
  }
  PoolFreeTracked(id);
  return isInList;
}

PAGEABLE_CODE NTSTATUS NTAPI FilterAddDevice(PDRIVER_OBJECT DriverObject, PDEVICE_OBJECT PDO) {
  if (FilterIsFilterNoLoad(PDO) != 0) {
    LogNotHooked("FilterAddDevice> PDO(0x%lx): Registry Override. Not hooking this device...\n",
                 PDO);
    return STATUS_SUCCESS;
  }
  if (IsDeviceInList(DriverObject, PDO) == 0) {
    LogNotHooked(
        "FilterAddDevice> PDO(0x%lx): Device not found in the internal Device List so not "
        "installing on this device...\n",
        PDO);
    return STATUS_SUCCESS;
  }

  PDEVICE_OBJECT fdo = nullptr;
  NTSTATUS status = IoCreateDevice(DriverObject, sizeof(FilterDeviceExtension), nullptr,
                                   FILE_DEVICE_UNKNOWN, 0, FALSE, &fdo);
  if (!NT_SUCCESS(status)) {
    g_DrvMainLog.Log(kLogError | 1, "FilterAddDevice> Failed to create device! Exiting!\n");
    return status;
  }
  g_DrvMainLog.Log(2, "FilterAddDevice> AddDevice PDO(0x%lx)\tFDO(0x%lx)\n", LogWord(PDO),
                   LogWord(fdo));
  auto* const device = new (NonPagedPool) CDevice;
  if (device == nullptr) {
    g_DrvMainLog.Log(kLogError | 1, "FilterAddDevice> Failed to create device Class! Exiting!\n");
    IoDeleteDevice(fdo);
    return STATUS_NO_MEMORY;
  }
  // Before the attach, so that the device is never on a stack without it.
  ExtensionOf(fdo).pDevice = device;

  PDEVICE_OBJECT const lower = IoAttachDeviceToDeviceStack(fdo, PDO);
  if (lower == nullptr) {
    g_DrvMainLog.Log(kLogError | 1, "FilterAddDevice> Failed to link device! Exiting!\n");
    DeleteTracked(device);
    IoDeleteDevice(fdo);
    return STATUS_UNSUCCESSFUL;
  }
  fdo->Flags |= lower->Flags & kInheritedFlags;
  fdo->DeviceType = lower->DeviceType;
  fdo->Characteristics = lower->Characteristics;
  g_DrvMainLog.Log(2, "FilterAddDevice> FDO attached to device 0x%lx\n", LogWord(lower));
  g_DrvMainLog.Log(2, "FilterAddDevice> FDO 0x%lx represented by CDevice 0x%lx\n", LogWord(fdo),
                   LogWord(device));

  status = device->Init(fdo, lower, PDO);
  if (!NT_SUCCESS(status)) {
    g_DrvMainLog.Log(kLogError | 1,
                     "FilterAddDevice> Failed to initialize device! \n\t\tDetaching, deleting FDO "
                     "0x%lx and Exiting!\n",
                     LogWord(fdo));
    IoDetachDevice(lower);
    DeleteTracked(device);
    IoDeleteDevice(fdo);
    return status;
  }
  fdo->Flags &= ~DO_DEVICE_INITIALIZING;
  PerfHooks.PerfAttach(fdo, lower, PDO);
  NamePerfItems();
  return STATUS_SUCCESS;
}
