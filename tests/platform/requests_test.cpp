// Requests of the I/O manager and of drivers: status, event and memory, cancelling.
#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;

namespace {

constexpr NTSTATUS kError = STATUS_UNSUCCESSFUL;

TEST(SynchronousRequestTest, StatusEventAndMemoryAtOnceAndLater) {
  const std::size_t before = IrpCount();
  for (const bool isLater : {false, true}) {
    SCOPED_TRACE(isLater);
    Layer layer;
    std::thread worker;
    layer.dispatch = [&](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
      irp->IoStatus.Information = 7;
      if (!isLater) return Complete(irp, kError);
      IoMarkIrpPending(irp);
      worker = std::thread([irp] { Complete(irp, kError); });
      return STATUS_PENDING;
    };
    PnpRequest request(layer.Device());
    EXPECT_EQ(isLater ? STATUS_PENDING : kError, IoCallDriver(layer.Device(), request.irp));
    EXPECT_EQ(STATUS_SUCCESS, WaitForEver(&request.event));
    EXPECT_EQ(kError, request.status.Status);
    EXPECT_EQ(7U, request.status.Information);
    EXPECT_EQ(before, IrpCount());
    if (worker.joinable()) worker.join();
  }
}

TEST(SentRequestTest, EntersAtTheTopWithItsStatusPreset) {
  Layer bottom;
  Layer top(bottom.Device());
  top.dispatch = [](PDEVICE_OBJECT, PIRP irp) {
    if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    return Complete(irp, irp->IoStatus.Status);
  };
  EXPECT_EQ(STATUS_NOT_SUPPORTED, SendPnpRequest(bottom.Device(), IRP_MN_SURPRISE_REMOVAL));
  EXPECT_EQ(STATUS_NOT_SUPPORTED, SendPowerRequest(bottom.Device(), IRP_MN_SET_POWER));
}

TEST(CancelTest, RoutineRunsUnderTheCancelLockAndOnce) {
  Layer layer;
  layer.dispatch = [](PDEVICE_OBJECT, PIRP irp) {
    IoMarkIrpPending(irp);
    PDRIVER_CANCEL cancel = [](PDEVICE_OBJECT, PIRP cancelled) {
      EXPECT_EQ(DISPATCH_LEVEL, KeGetCurrentIrql());
      IoReleaseCancelSpinLock(cancelled->CancelIrql);
      Complete(cancelled, STATUS_CANCELLED);
    };
    EXPECT_EQ(nullptr, IoSetCancelRoutine(irp, cancel));
    return STATUS_PENDING;
  };
  PIRP irp = MakeOwnIrp(layer.Device());
  EXPECT_EQ(STATUS_PENDING, IoCallDriver(layer.Device(), irp));
  EXPECT_EQ(TRUE, IoCancelIrp(irp));
  EXPECT_EQ(STATUS_CANCELLED, irp->IoStatus.Status);
  EXPECT_EQ(FALSE, IoCancelIrp(irp));
  EXPECT_EQ(PASSIVE_LEVEL, KeGetCurrentIrql());
  IoFreeIrp(irp);
}

}  // namespace
