// The filter's object for one admitted device. It sorts the device's requests: power and
// plug-and-play stay here, everything else is offered to the interception and passes down
// otherwise. Here a device's life ends, once every request that is out has come back.
#pragma once

#include <cstddef>

#include "platform/kernel.h"
#include "support/remove_lock.h"

class CUSBIRPs;

class CDevice {
 public:
  CDevice();
  ~CDevice();
  CDevice(const CDevice&) = delete;
  CDevice& operator=(const CDevice&) = delete;

  /// Second stage, PASSIVE_LEVEL: STATUS_SUCCESS, or STATUS_NO_MEMORY, after which the object can
  /// only be destroyed.
  NTSTATUS Init(PDEVICE_OBJECT pFDO, PDEVICE_OBJECT pLowerDevice, PDEVICE_OBJECT pPDO);

  /// Takes every request of the device, at up to DISPATCH_LEVEL, and gives what its dispatch must
  /// return. *pDeleted is 0 on entry; if it comes back 1, the device object is gone, and the caller
  /// destroys this object.
  NTSTATUS Dispatch(PIRP Irp, ULONG* pDeleted);

  /// Requests now inside Dispatch.
  LONG InDispatch() const { return m_lInDispatch; }

 private:
  NTSTATUS DispatchPassThrough(PIRP Irp);
  NTSTATUS DispatchPower(PIRP Irp);
  NTSTATUS DispatchPnp(PIRP Irp, ULONG* pDeleted);
  NTSTATUS StartDevice(PIRP Irp);
  NTSTATUS RemoveDevice(PIRP Irp, ULONG* pDeleted);
  void LeaveDispatch(PIRP Irp);
  static NTSTATUS NTAPI OnStartComplete(PDEVICE_OBJECT DeviceObject, PIRP Irp, PVOID Context);

  // Fields in their order.
  PDEVICE_OBJECT m_pFDO;
  PDEVICE_OBJECT m_pLowerDevice;
  PDEVICE_OBJECT m_pPDO;
  LONG m_lInDispatch;       // Interlocked; no decision depends on it.
  RemoveLock m_RemoveLock;  // 1, and one hold for each request that is not finished with.
  CUSBIRPs* m_pUSBIRPs;     // Owned, may be null.
};
