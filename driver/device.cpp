#include "driver/device.h"

#include "support/debug_log.h"
#include "support/instrumentation/perf_items.h"
#include "support/perf_hooks.h"
#include "support/tracked_new.h"
#include "usbaudio/usb_irps.h"

CDevice::CDevice()
    : m_pFDO(nullptr),
      m_pLowerDevice(nullptr),
      m_pPDO(nullptr),
      m_lInDispatch(0),
      m_pUSBIRPs(nullptr) {
  RemoveLockInit(&m_RemoveLock);
  g_DeviceLog.Log(3, "CDevice::CDevice> Created class: 0x%lx\n", LogWord(this));
}

PAGEABLE_CODE NTSTATUS CDevice::Init(PDEVICE_OBJECT pFDO, PDEVICE_OBJECT pLowerDevice,
                                     PDEVICE_OBJECT pPDO) {
  m_pFDO = pFDO;
  m_pLowerDevice = pLowerDevice;
  m_pPDO = pPDO;
  m_pUSBIRPs = new (NonPagedPool) CUSBIRPs;
  if (m_pUSBIRPs == nullptr) {
    g_DeviceLog.Log(kLogError | 2, "CDevice::Init> Failed to allocate CUSBIRPs in class 0x%lx!\n",
                    LogWord(this));
    return STATUS_NO_MEMORY;
  }
  NTSTATUS status = m_pUSBIRPs->Init(pFDO, pLowerDevice, pPDO, this, &m_RemoveLock);
  // Its constructor cannot report what it did not get.
  if (NT_SUCCESS(status) && !m_pUSBIRPs->IsComplete()) status = STATUS_NO_MEMORY;
  g_DeviceLog.Log(3, "CDevice::Init> status is 0x%lx!\n", LogWord(status));
  return status;
}

CDevice::~CDevice() {
  m_pFDO = nullptr;
  m_pLowerDevice = nullptr;
  m_pPDO = nullptr;
  // NOLINTNEXTLINE(readability-delete-null-pointer): the tracked delete takes no null.
  if (m_pUSBIRPs != nullptr) delete m_pUSBIRPs;
  m_pUSBIRPs = nullptr;
  g_DeviceLog.Log(3, "CDevice::~CDevice> destroying class: 0x%lx\n", LogWord(this));
}

NTSTATUS CDevice::Dispatch(PIRP Irp, ULONG* pDeleted) {
  const UCHAR major = IoGetCurrentIrpStackLocation(Irp)->MajorFunction;
  // Refused, there is no hold: this object is not touched any more.
  if (RemoveLockAcquire(Irp, &m_RemoveLock) == STATUS_DELETE_PENDING) {
    g_DeviceLog.Log(kLogError | 1, "CDevice::Dispatch> Delete Pending. Failing IRP!\n");
    if (major == IRP_MJ_POWER) PoStartNextPowerIrp(Irp);
    Irp->IoStatus.Information = 0;
    Irp->IoStatus.Status = STATUS_DELETE_PENDING;
    IoCompleteRequest(Irp, IO_NO_INCREMENT);
    return STATUS_DELETE_PENDING;
  }
  InterlockedIncrement(&m_lInDispatch);
  g_DeviceLog.Log(3, "CDevice::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n",
                  LogWord(m_pFDO), unsigned{major});
  if (major == IRP_MJ_POWER) return DispatchPower(Irp);
  if (major == IRP_MJ_PNP) return DispatchPnp(Irp, pDeleted);

  ULONG handled = 0;
  // The completion of a request that is taken releases its hold, so the object may be gone when
  // this call returns.
  InterlockedDecrement(&m_lInDispatch);
  const NTSTATUS status = m_pUSBIRPs->Dispatch(Irp, &handled);
  if (handled != 0) return status;
  InterlockedIncrement(&m_lInDispatch);
  return DispatchPassThrough(Irp);
}

// The count first: the object may be gone once the hold is.
void CDevice::LeaveDispatch(PIRP Irp) {
  InterlockedDecrement(&m_lInDispatch);
  RemoveLockRelease(Irp, &m_RemoveLock);
}

NTSTATUS CDevice::DispatchPassThrough(PIRP Irp) {
  g_DeviceLog.Log(3, "CDevice::DispatchPassThrough> Passing through...\n");
  IoSkipCurrentIrpStackLocation(Irp);
  const NTSTATUS status = IoCallDriver(m_pLowerDevice, Irp);
  LeaveDispatch(Irp);
  return status;
}

NTSTATUS CDevice::DispatchPower(PIRP Irp) {
  g_DeviceLog.Log(3, "CDevice::DispatchPower> Passing through...\n");
  PoStartNextPowerIrp(Irp);
  IoSkipCurrentIrpStackLocation(Irp);
  const NTSTATUS status = PoCallDriver(m_pLowerDevice, Irp);
  LeaveDispatch(Irp);
  return status;
}

PAGEABLE_CODE NTSTATUS CDevice::DispatchPnp(PIRP Irp, ULONG* pDeleted) {
  g_DeviceLog.Log(3, "CDevice::DispatchPnp> Received:%s in IRP:0x%lx\n", kNoLogName, LogWord(Irp));
  switch (IoGetCurrentIrpStackLocation(Irp)->MinorFunction) {
    case IRP_MN_START_DEVICE:
      return StartDevice(Irp);
    case IRP_MN_REMOVE_DEVICE:
      return RemoveDevice(Irp, pDeleted);
    default:
      return DispatchPassThrough(Irp);
  }
}

NTSTATUS NTAPI CDevice::OnStartComplete(PDEVICE_OBJECT /*DeviceObject*/, PIRP /*Irp*/,
                                        PVOID Context) {
  KeSetEvent(static_cast<PKEVENT>(Context), IO_NO_INCREMENT, FALSE);
  return STATUS_MORE_PROCESSING_REQUIRED;
}

// The devices below start first; the instrumentation gets its second try however that went.
PAGEABLE_CODE NTSTATUS CDevice::StartDevice(PIRP Irp) {
  KEVENT isComplete;
  KeInitializeEvent(&isComplete, NotificationEvent, FALSE);
  IoCopyCurrentIrpStackLocationToNext(Irp);
  IoSetCompletionRoutine(Irp, &OnStartComplete, &isComplete, TRUE, TRUE, TRUE);
  NTSTATUS status = IoCallDriver(m_pLowerDevice, Irp);
  if (status == STATUS_PENDING) {
    status = KeWaitForSingleObject(&isComplete, Executive, KernelMode, FALSE, nullptr);
    if (status == STATUS_SUCCESS) status = Irp->IoStatus.Status;
  }
  IoCompleteRequest(Irp, IO_NO_INCREMENT);
  // Still under the request's hold, so that no removal comes between.
  PerfHooks.PerfAttach(m_pFDO, m_pLowerDevice, m_pPDO);
  NamePerfItems();
  LeaveDispatch(Irp);
  return status;
}

// The request goes down first, so that the devices below finish what they hold; only then can the
// wait for the last hold end.
PAGEABLE_CODE NTSTATUS CDevice::RemoveDevice(PIRP Irp, ULONG* pDeleted) {
  PerfHooks.PerfDetach();
  IoSkipCurrentIrpStackLocation(Irp);
  const NTSTATUS status = IoCallDriver(m_pLowerDevice, Irp);
  InterlockedDecrement(&m_lInDispatch);
  RemoveLockReleaseAndWait(Irp, &m_RemoveLock);
  IoDetachDevice(m_pLowerDevice);
  IoDeleteDevice(m_pFDO);
  *pDeleted = 1;
  return status;
}
