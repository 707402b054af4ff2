// What misuse of IRPs meets: each is a bug check.
#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;

namespace {

NTSTATUS CopyAndCall(PDEVICE_OBJECT lower, PIRP irp) {
  IoCopyCurrentIrpStackLocationToNext(irp);
  return IoCallDriver(lower, irp);
}

// Lets the lower device misuse what it gets.
NTSTATUS PassTo(const Dispatch& lowerDispatch, PDEVICE_OBJECT lower, PIRP irp) {
  DispatchOf(lower) = lowerDispatch;
  return CopyAndCall(lower, irp);
}

template <KIRQL irql>
NTSTATUS CompleteAt(PDEVICE_OBJECT, PIRP irp) {
  KfRaiseIrql(irql);
  return Complete(irp, STATUS_SUCCESS);
}

struct IrpMisuse {
  const char* name;
  BugCheck code;
  const char* text;
  // Runs as the dispatch routine of the top of two devices, whose bottom completes with success.
  NTSTATUS (*dispatch)(PDEVICE_OBJECT lower, PIRP irp);
  UCHAR major = IRP_MJ_INTERNAL_DEVICE_CONTROL;
};

const IrpMisuse kMisuses[] = {
    {"completed twice", kMultipleIrpCompleteRequests, "complete already",
     [](PDEVICE_OBJECT, PIRP irp) {
       Complete(irp, STATUS_SUCCESS);
       return Complete(irp, STATUS_SUCCESS);
     }},
    {"touched after it was passed down", kNoMoreIrpStackLocations, "IoGetCurrentIrpStackLocation",
     [](PDEVICE_OBJECT lower, PIRP irp) -> NTSTATUS {
       CopyAndCall(lower, irp);
       return IoGetCurrentIrpStackLocation(irp)->Control;
     }},
    {"sent below the last location", kNoMoreIrpStackLocations, "IofCallDriver",
     [](PDEVICE_OBJECT lower, PIRP irp) { return PassTo(IoCallDriver, lower, irp); }},
    {"copied below the last location", kNoMoreIrpStackLocations,
     "IoCopyCurrentIrpStackLocationToNext",
     [](PDEVICE_OBJECT lower, PIRP irp) { return PassTo(CopyAndCall, lower, irp); }},
    {"skipped beyond the first location", kNoMoreIrpStackLocations, "IoSkipCurrentIrpStackLocation",
     [](PDEVICE_OBJECT lower, PIRP irp) {
       IoSkipCurrentIrpStackLocation(irp);
       IoSkipCurrentIrpStackLocation(irp);
       return IoCallDriver(lower, irp);
     }},
    {"completed as pending", kViolation, "completed with STATUS_PENDING",
     [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, STATUS_PENDING); }},
    {"returned pending, unmarked and complete", kViolation, "never marked",
     [](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
       Complete(irp, STATUS_SUCCESS);
       return STATUS_PENDING;
     }},
    {"marked but returned otherwise", kViolation,
     "marked its stack location pending and returned 0x0",
     [](PDEVICE_OBJECT, PIRP irp) {
       IoMarkIrpPending(irp);
       return Complete(irp, STATUS_SUCCESS);
     }},
    {"returned without completing", kViolation, "had not been completed",
     [](PDEVICE_OBJECT, PIRP) -> NTSTATUS { return STATUS_SUCCESS; }},
    {"freed in another's hands", kViolation, "still has it",
     [](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
       IoFreeIrp(irp);
       return STATUS_SUCCESS;
     }},
    {"completed with a cancel routine", kViolation, "completed with a cancel routine",
     [](PDEVICE_OBJECT, PIRP irp) {
       IoSetCancelRoutine(irp, [](PDEVICE_OBJECT, PIRP) {});
       return Complete(irp, STATUS_SUCCESS);
     }},
    {"returned at another IRQL", kViolation, "called at IRQL 0 and returned at 2",
     CompleteAt<DISPATCH_LEVEL>},
    {"completed above dispatch level", kIrqlNotLessOrEqual, "IofCompleteRequest may run at IRQL 2",
     CompleteAt<HIGH_LEVEL>},
    {"plug and play passed down at dispatch level", kIrqlNotLessOrEqual, "IRP_MJ_PNP",
     [](PDEVICE_OBJECT lower, PIRP irp) {
       KfRaiseIrql(DISPATCH_LEVEL);
       return CopyAndCall(lower, irp);
     },
     IRP_MJ_PNP},
    {"power passed down like others", kViolation, "passed down with PoCallDriver",
     [](PDEVICE_OBJECT lower, PIRP irp) {
       PoStartNextPowerIrp(irp);
       return CopyAndCall(lower, irp);
     },
     IRP_MJ_POWER},
    {"power skipped before the next may start", kViolation, "PoStartNextPowerIrp",
     [](PDEVICE_OBJECT lower, PIRP irp) {
       IoSkipCurrentIrpStackLocation(irp);
       return PoCallDriver(lower, irp);
     },
     IRP_MJ_POWER},
    {"power copied and the next never started", kViolation, "PoStartNextPowerIrp",
     [](PDEVICE_OBJECT lower, PIRP irp) {
       IoCopyCurrentIrpStackLocationToNext(irp);
       return PoCallDriver(lower, irp);
     },
     IRP_MJ_POWER},
};

TEST(IrpMisuse, ByADispatchRoutineIsABugCheck) {
  for (const IrpMisuse& misuse : kMisuses) {
    Layer bottom;
    Layer top(bottom.Device());
    const auto call = misuse.major == IRP_MJ_POWER ? PoCallDriver : IoCallDriver;
    bottom.dispatch = [&](PDEVICE_OBJECT, PIRP irp) {
      if (misuse.major == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
      return Complete(irp, STATUS_SUCCESS);
    };
    top.dispatch = [&](PDEVICE_OBJECT, PIRP irp) { return misuse.dispatch(top.Lower(), irp); };
    ExpectBugChecks({{misuse.name, misuse.code, misuse.text,
                      [&] { call(top.Device(), MakeOwnIrp(top.Device(), misuse.major)); }}});
  }
}

// The dispatch routine has long returned; the one who completes finds what it said.
TEST(IrpMisuse, PendingReturnedUnmarkedIsFoundWhenItCompletes) {
  Layer layer;
  layer.dispatch = [](PDEVICE_OBJECT, PIRP) -> NTSTATUS { return STATUS_PENDING; };
  PIRP irp = MakeOwnIrp(layer.Device());
  EXPECT_EQ(STATUS_PENDING, IoCallDriver(layer.Device(), irp));
  ExpectBugChecks(
      {{"unmarked", kViolation, "never marked", [&] { Complete(irp, STATUS_SUCCESS); }}});
}

TEST(IrpMisuse, FreedIrpIsNotTouchedAgain) {
  Layer layer(Succeed);
  PnpRequest request(layer.Device());
  IoCallDriver(layer.Device(), request.irp);
  PIRP own = IoAllocateIrp(1, FALSE);
  IoFreeIrp(own);
  for (PIRP irp : {request.irp, own}) {
    const auto setRoutine = [irp] {
      IoSetCompletionRoutine(irp, KeepIrp, nullptr, TRUE, TRUE, TRUE);
    };
    constexpr const char* kText = "has been freed";
    ExpectBugChecks({
        {"complete", kMultipleIrpCompleteRequests, "IofCompleteRequest",
         [irp] { IoCompleteRequest(irp, IO_NO_INCREMENT); }},
        {"current", kViolation, kText, [irp] { IoGetCurrentIrpStackLocation(irp); }},
        {"next", kViolation, kText, [irp] { IoGetNextIrpStackLocation(irp); }},
        {"skip", kViolation, kText, [irp] { IoSkipCurrentIrpStackLocation(irp); }},
        {"mark", kViolation, kText, [irp] { IoMarkIrpPending(irp); }},
        {"copy", kViolation, kText, [irp] { IoCopyCurrentIrpStackLocationToNext(irp); }},
        {"set a routine", kViolation, kText, setRoutine},
        {"send", kViolation, kText, [&] { IoCallDriver(layer.Device(), irp); }},
        {"cancel", kViolation, kText, [irp] { IoCancelIrp(irp); }},
        {"free", kViolation, kText, [irp] { IoFreeIrp(irp); }},
    });
  }
}

TEST(IrpMisuse, OwnershipOfTheMaker) {
  const std::size_t before = IrpCount();
  Layer layer(Succeed);
  PnpRequest request(layer.Device());
  PIRP unclaimed = IoAllocateIrp(1, FALSE);
  IoGetNextIrpStackLocation(unclaimed)->MajorFunction = IRP_MJ_WRITE;
  ExpectBugChecks({
      {"freeing a request", kViolation, "belongs to the I/O manager",
       [&] { IoFreeIrp(request.irp); }},
      {"marking what was not sent", kNoMoreIrpStackLocations, "IoMarkIrpPending",
       [&] { IoMarkIrpPending(unclaimed); }},
      {"sending what nobody takes back", kViolation, "takes it back",
       [&] { IoCallDriver(layer.Device(), unclaimed); }},
  });
  Complete(request.irp, STATUS_CANCELLED);  // That is how one which was not sent is given back.
  EXPECT_EQ(STATUS_CANCELLED, request.status.Status);
  IoFreeIrp(unclaimed);
  EXPECT_EQ(before, IrpCount());
}

}  // namespace
