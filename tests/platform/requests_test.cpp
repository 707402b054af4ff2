// Requests of the I/O manager and of drivers: status, event and memory, cancelling, many threads.
#include <mutex>

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

TEST(SynchronousRequestTest, UnsentRequestIsGivenBackByCompletingIt) {
  const std::size_t before = IrpCount();
  Layer layer;
  PnpRequest request(layer.Device());
  Complete(request.irp, STATUS_CANCELLED);
  EXPECT_EQ(STATUS_CANCELLED, request.status.Status);
  EXPECT_EQ(before, IrpCount());
}

TEST(SentRequestTest, EntersAtTheTopWithItsStatusPreset) {
  Layer bottom;
  Layer top(&bottom);
  std::thread worker;
  top.dispatch = [&](PDEVICE_OBJECT, PIRP irp) {
    if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    IoSkipCurrentIrpStackLocation(irp);
    const bool isPower = IoGetNextIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER;
    return isPower ? PoCallDriver(top.Lower(), irp) : IoCallDriver(top.Lower(), irp);
  };
  bottom.dispatch = [&](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
    PIO_STACK_LOCATION location = IoGetCurrentIrpStackLocation(irp);
    if (location->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    if (location->MinorFunction == IRP_MN_SURPRISE_REMOVAL) {
      return Complete(irp, irp->IoStatus.Status);
    }
    IoMarkIrpPending(irp);
    worker = std::thread([irp] { Complete(irp, STATUS_SUCCESS); });
    return STATUS_PENDING;
  };
  EXPECT_EQ(STATUS_NOT_SUPPORTED, SendPnpRequest(bottom.Device(), IRP_MN_SURPRISE_REMOVAL));
  EXPECT_EQ(STATUS_SUCCESS, SendPowerRequest(bottom.Device(), IRP_MN_SET_POWER));
  worker.join();
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

// Requests of several threads at once, each completed on the thread of the bottom driver while the
// dispatch routines may still be on their way back.
TEST(ThreadsTest, RequestsOfManyThreadsThroughOneStack) {
  constexpr int kThreads = 3;
  constexpr int kRequests = 2000;
  const std::size_t irpsBefore = IrpCount();
  std::atomic<int> completions{0};
  {
    Layer bottom;
    Layer middle(&bottom);
    Layer top(&middle);
    std::mutex lock;
    std::vector<PIRP> queue;
    bottom.dispatch = [&](PDEVICE_OBJECT, PIRP irp) {
      IoMarkIrpPending(irp);
      const std::lock_guard guard(lock);
      queue.push_back(irp);
      return STATUS_PENDING;
    };
    middle.dispatch = [&](PDEVICE_OBJECT, PIRP irp) {
      IoSkipCurrentIrpStackLocation(irp);
      return IoCallDriver(middle.Lower(), irp);
    };
    top.dispatch = [&](PDEVICE_OBJECT, PIRP irp) {
      IoCopyCurrentIrpStackLocationToNext(irp);
      PIO_COMPLETION_ROUTINE count = [](PDEVICE_OBJECT, PIRP completed, PVOID context) {
        ++*static_cast<std::atomic<int>*>(context);
        if (completed->PendingReturned != FALSE) IoMarkIrpPending(completed);
        return STATUS_SUCCESS;
      };
      IoSetCompletionRoutine(irp, count, &completions, TRUE, TRUE, TRUE);
      return IoCallDriver(top.Lower(), irp);
    };
    std::atomic<bool> isStopping{false};
    std::thread completer([&] {
      while (!isStopping) {
        std::vector<PIRP> taken;
        {
          const std::lock_guard guard(lock);
          taken.swap(queue);
        }
        for (PIRP irp : taken)
          Complete(irp, STATUS_SUCCESS);
        std::this_thread::yield();
      }
    });
    OnThreads(kThreads, [&](int) {
      for (int request = 0; request < kRequests; ++request)
        EXPECT_EQ(STATUS_SUCCESS, SendRequest(bottom.Device(), IRP_MJ_WRITE));
    });
    isStopping = true;
    completer.join();
  }
  EXPECT_EQ(kThreads * kRequests, completions);
  EXPECT_EQ(irpsBefore, IrpCount());
}

}  // namespace
