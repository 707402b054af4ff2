#include "support/instrumentation/stack_interface.h"

#include <cstddef>

#include "support/tracked_new.h"

namespace {

// The link is the driver's own and lies behind what the service sees.
struct HeldInterface {
  StackInterface Interface;
  HeldInterface* Next;
  HeldInterface** Link;  // What points to this record.
};
static_assert(offsetof(HeldInterface, Interface) == 0);
static_assert(sizeof(void*) != 4 || sizeof(HeldInterface) == 40);

KMUTEX listMutex;
HeldInterface* firstHeld = nullptr;
LONG startCount = -1;

PAGEABLE_CODE NTSTATUS TakeList() {
  return KeWaitForSingleObject(&listMutex, Executive, KernelMode, FALSE, nullptr);
}
PAGEABLE_CODE void GiveList() {
  KeReleaseMutex(&listMutex, FALSE);
}

void Link(HeldInterface* held) {
  held->Next = firstHeld;
  held->Link = &firstHeld;
  if (firstHeld != nullptr) firstHeld->Link = &held->Next;
  firstHeld = held;
}
void Unlink(HeldInterface* held) {
  *held->Link = held->Next;
  if (held->Next != nullptr) held->Next->Link = held->Link;
}

HeldInterface* RecordOf(StackInterface* wanted) {
  return reinterpret_cast<HeldInterface*>(wanted);
}

// Sends the query through the whole stack and waits for its answer.
PAGEABLE_CODE ULONG Query(PDEVICE_OBJECT LowerDevice, const GUID* guid, StackInterface* answer) {
  KEVENT isComplete;
  KeInitializeEvent(&isComplete, NotificationEvent, FALSE);
  IO_STATUS_BLOCK outcome = {};
  PDEVICE_OBJECT const top = IoGetAttachedDeviceReference(LowerDevice);
  PIRP const irp =
      IoBuildSynchronousFsdRequest(IRP_MJ_PNP, top, nullptr, 0, nullptr, &isComplete, &outcome);
  if (irp == nullptr) {
    ObDereferenceObject(top);
    return kInterfaceNoIrp;
  }
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  irp->IoStatus.Information = 0;
  PIO_STACK_LOCATION const location = IoGetNextIrpStackLocation(irp);
  location->MajorFunction = IRP_MJ_PNP;
  location->MinorFunction = IRP_MN_QUERY_INTERFACE;
  location->Parameters.QueryInterface.InterfaceType = guid;
  location->Parameters.QueryInterface.Size = sizeof(StackInterface);
  location->Parameters.QueryInterface.Version = 0;
  location->Parameters.QueryInterface.Interface = reinterpret_cast<PINTERFACE>(answer);
  location->Parameters.QueryInterface.InterfaceSpecificData = nullptr;
  NTSTATUS status = IoCallDriver(top, irp);
  if (status == STATUS_PENDING) {
    KeWaitForSingleObject(&isComplete, Executive, KernelMode, FALSE, nullptr);
    status = outcome.Status;
  }
  ObDereferenceObject(top);
  // A stack that knows no interfaces at all may complete the query as it came, with success.
  const bool isAnswered =
      answer->Reference != nullptr && answer->Dereference != nullptr && answer->GetTable != nullptr;
  return NT_SUCCESS(status) && isAnswered ? kInterfaceOk : kInterfaceQueryFailed;
}

}  // namespace

PAGEABLE_CODE void StackInterfaceListInit() {
  if (startCount != -1) {
    ++startCount;
    return;
  }
  startCount = 1;
  KeInitializeMutex(&listMutex, 0);
  firstHeld = nullptr;
}

PAGEABLE_CODE void StackInterfaceListFree() {
  if (--startCount != 0) return;
  TakeList();
  while (HeldInterface* const held = firstHeld) {
    Unlink(held);
    held->Interface.Dereference(held->Interface.Context);
    DeleteTracked(held);
  }
  GiveList();
  startCount = -1;  // As before a load.
}

PAGEABLE_CODE ULONG StackInterfaceAcquire(PDEVICE_OBJECT LowerDevice, StackInterface** pInterface,
                                          const GUID* pGuid) {
  if (pInterface == nullptr) return kInterfaceNullPointer;
  *pInterface = nullptr;
  auto* const held = new (NonPagedPool) HeldInterface();
  if (held == nullptr) return kInterfaceNoMemory;
  StackInterface& answer = held->Interface;
  const ULONG result = Query(LowerDevice, pGuid, &answer);
  if (result != kInterfaceOk) {
    DeleteTracked(held);
    return result;
  }
  answer.Reference(answer.Context);
  if (!NT_SUCCESS(TakeList())) {
    answer.Dereference(answer.Context);
    DeleteTracked(held);
    return kInterfaceQueryFailed;
  }
  Link(held);
  GiveList();
  *pInterface = &answer;
  return kInterfaceOk;
}

PAGEABLE_CODE ULONG StackInterfaceFind(StackInterface* Interface, ULONG Remove) {
  TakeList();
  HeldInterface* held = firstHeld;
  while (held != nullptr && &held->Interface != Interface) {
    held = held->Next;
  }
  if (held != nullptr && Remove != 0) Unlink(held);
  GiveList();
  return held != nullptr ? 1 : 0;
}

PAGEABLE_CODE ULONG StackInterfaceGetTable(StackInterface* Interface, PVOID Table, ULONG Size) {
  if (Table == nullptr) return kInterfaceNullPointer;
  if (StackInterfaceFind(Interface, 0) == 0) return kInterfaceNotHeld;
  return Interface->GetTable(Interface->Context, Table, Size);
}

PAGEABLE_CODE ULONG StackInterfaceRelease(StackInterface* Interface) {
  if (StackInterfaceFind(Interface, 1) == 0) return kInterfaceNotHeld;
  const ULONG result = Interface->Dereference(Interface->Context);
  DeleteTracked(RecordOf(Interface));
  return result;
}
