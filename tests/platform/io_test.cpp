// The I/O manager: the order of completion, the rules for pending, the life of devices and IRPs,
// and the bug checks that misuse of them meets.
#include "platform/host/io.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/host/control/debug_control.h"
#include "platform/host/control/execution_control.h"
#include "platform/host/control/io_control.h"

namespace {

using zr::host::BugCheck;
using zr::host::LoadedDriver;

using Dispatch = std::function<NTSTATUS(PDEVICE_OBJECT device, PIRP irp)>;

struct Extension {
  Dispatch* dispatch;
};

Dispatch& DispatchOf(PDEVICE_OBJECT device) {
  return *static_cast<Extension*>(device->DeviceExtension)->dispatch;
}

NTSTATUS NTAPI CallTest(PDEVICE_OBJECT device, PIRP irp) {
  return DispatchOf(device)(device, irp);
}

NTSTATUS NTAPI EnterDriver(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = CallTest;
  return STATUS_SUCCESS;
}

NTSTATUS NTAPI EnterPlainDriver(PDRIVER_OBJECT /*driver*/, PUNICODE_STRING /*registryPath*/) {
  return STATUS_SUCCESS;
}

PDEVICE_OBJECT MakeDevice(const LoadedDriver& driver, ULONG extensionSize = 0) {
  PDEVICE_OBJECT device = nullptr;
  EXPECT_EQ(STATUS_SUCCESS, IoCreateDevice(driver.Object(), extensionSize, nullptr,
                                           FILE_DEVICE_UNKNOWN, 0, FALSE, &device));
  device->Flags &= ~DO_DEVICE_INITIALIZING;
  return device;
}

// A driver with one device, on top of another layer or at the bottom.
class Layer {
 public:
  explicit Layer(Layer* below = nullptr) : driver_(EnterDriver) {
    device_ = MakeDevice(driver_, sizeof(Extension));
    static_cast<Extension*>(device_->DeviceExtension)->dispatch = &dispatch;
    if (below != nullptr) lower_ = IoAttachDeviceToDeviceStack(device_, below->device_);
  }
  ~Layer() {
    if (lower_ != nullptr) IoDetachDevice(lower_);
    IoDeleteDevice(device_);
  }
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  PDEVICE_OBJECT Device() const { return device_; }
  PDEVICE_OBJECT Lower() const { return lower_; }

  Dispatch dispatch;

 private:
  LoadedDriver driver_;
  PDEVICE_OBJECT device_ = nullptr;
  PDEVICE_OBJECT lower_ = nullptr;
};

NTSTATUS Complete(PIRP irp, NTSTATUS status) {
  irp->IoStatus.Status = status;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
}

template <typename Act>
void ExpectBugCheck(BugCheck code, const std::string& text, Act act) {
  const zr::host::ExpectedBugCheck expected;
  try {
    act();
    ADD_FAILURE() << "no bug check, expected: " << text;
  } catch (const zr::host::BugCheckError& error) {
    EXPECT_EQ(static_cast<ULONG>(code), error.Code()) << error.what();
    EXPECT_THAT(error.what(), testing::HasSubstr(text));
  }
}

NTSTATUS NTAPI KeepIrp(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID /*context*/) {
  return STATUS_MORE_PROCESSING_REQUIRED;
}

// An IRP of the test's own, ready to be sent to the device; it comes back to the test.
PIRP MakeOwnIrp(PDEVICE_OBJECT device, UCHAR major = IRP_MJ_INTERNAL_DEVICE_CONTROL) {
  PIRP irp = IoAllocateIrp(device->StackSize, FALSE);
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  IoGetNextIrpStackLocation(irp)->MajorFunction = major;
  IoSetCompletionRoutine(irp, KeepIrp, nullptr, TRUE, TRUE, TRUE);
  return irp;
}

struct PnpRequest {
  explicit PnpRequest(PDEVICE_OBJECT device) {
    KeInitializeEvent(&event, NotificationEvent, FALSE);
    irp = IoBuildSynchronousFsdRequest(IRP_MJ_PNP, device, nullptr, 0, nullptr, &event, &status);
  }
  KEVENT event;
  IO_STATUS_BLOCK status = {STATUS_UNSUCCESSFUL, 0};
  PIRP irp;
};

// --- The order of completion over a stack of four drivers ---

// How a layer treats its requests:
//   s     skips its location
//   c     copies its location, without a completion routine
//   r     with a routine for every outcome that passes the pending mark on
//   + - x with such a routine for success, for errors, for cancelled requests alone
//   w     keeps the request in the routine, waits in the dispatch routine, completes it there
//   h     keeps the request in the routine and has another thread complete it
struct CompletionCase {
  const char* name;
  const char* layers;  // The upper three, from the top.
  bool isLater;        // The bottom completes on another thread.
  bool isCancelled;
  NTSTATUS status;
  const char* trace;  // Layers whose routine ran, p for PendingReturned; o is the originator.
};

class CompletionTest : public testing::TestWithParam<CompletionCase> {
 protected:
  struct Routine {
    CompletionTest* test;
    std::size_t index;
    char kind;
    KEVENT isKept;
  };

  CompletionTest() : third_(&bottom_), second_(&third_), first_(&second_) {}
  ~CompletionTest() override {
    for (std::thread& thread : threads_)
      thread.join();
  }

  void Trace(char who, bool isPending) {
    const std::lock_guard guard(traceLock_);
    if (!trace_.empty()) trace_ += ' ';
    trace_ += who;
    if (isPending) trace_ += 'p';
  }

  void RunOnThread(std::function<void()> work) {
    const std::lock_guard guard(traceLock_);
    threads_.emplace_back(std::move(work));
  }

  static NTSTATUS NTAPI OnComplete(PDEVICE_OBJECT device, PIRP irp, PVOID context) {
    auto* const routine = static_cast<Routine*>(context);
    CompletionTest& test = *routine->test;
    const Layer& layer = *test.Upper()[routine->index];
    EXPECT_EQ(layer.Device(), device);
    EXPECT_EQ(layer.Device(), IoGetCurrentIrpStackLocation(irp)->DeviceObject);
    test.Trace(static_cast<char>('0' + routine->index), irp->PendingReturned != FALSE);
    if (routine->kind == 'w' || routine->kind == 'h') {
      KeSetEvent(&routine->isKept, IO_NO_INCREMENT, FALSE);
      return STATUS_MORE_PROCESSING_REQUIRED;
    }
    if (irp->PendingReturned != FALSE) IoMarkIrpPending(irp);
    return STATUS_SUCCESS;
  }

  NTSTATUS PassDown(const Layer& layer, Routine& routine, PIRP irp) {
    const char kind = routine.kind;
    if (kind == 's') {
      IoSkipCurrentIrpStackLocation(irp);
      return IoCallDriver(layer.Lower(), irp);
    }
    IoCopyCurrentIrpStackLocationToNext(irp);
    if (kind == 'c') return IoCallDriver(layer.Lower(), irp);
    const bool isForAll = kind == 'r' || kind == 'w' || kind == 'h';
    IoSetCompletionRoutine(irp, OnComplete, &routine, isForAll || kind == '+',
                           isForAll || kind == '-', isForAll || kind == 'x');
    if (kind == 'h') {
      IoMarkIrpPending(irp);
      RunOnThread([&routine, irp] {
        KeWaitForSingleObject(&routine.isKept, Executive, KernelMode, FALSE, nullptr);
        IoCompleteRequest(irp, IO_NO_INCREMENT);
      });
      IoCallDriver(layer.Lower(), irp);
      return STATUS_PENDING;
    }
    const NTSTATUS status = IoCallDriver(layer.Lower(), irp);
    if (kind != 'w') return status;
    KeWaitForSingleObject(&routine.isKept, Executive, KernelMode, FALSE, nullptr);
    return Complete(irp, irp->IoStatus.Status);
  }

  NTSTATUS AtBottom(PIRP irp) {
    const NTSTATUS status = GetParam().status;
    if (!GetParam().isLater) return Complete(irp, status);
    IoMarkIrpPending(irp);
    RunOnThread([irp, status] { Complete(irp, status); });
    return STATUS_PENDING;
  }

  static NTSTATUS NTAPI OnBackAtOriginator(PDEVICE_OBJECT device, PIRP irp, PVOID context) {
    auto* const routine = static_cast<Routine*>(context);
    EXPECT_EQ(nullptr, device);
    routine->test->Trace('o', irp->PendingReturned != FALSE);
    KeSetEvent(&routine->isKept, IO_NO_INCREMENT, FALSE);
    return STATUS_MORE_PROCESSING_REQUIRED;
  }

  std::array<Layer*, 3> Upper() { return {&first_, &second_, &third_}; }

  std::mutex traceLock_;
  std::string trace_;
  std::vector<std::thread> threads_;
  Layer bottom_;
  Layer third_;
  Layer second_;
  Layer first_;
};

TEST_P(CompletionTest, WalksUpward) {
  const std::size_t irpsBefore = zr::host::IrpCount();
  std::array<Routine, 4> routines = {};
  for (std::size_t i = 0; i < routines.size(); ++i) {
    routines[i] = {this, i, i < 3 ? GetParam().layers[i] : 'o', {}};
    KeInitializeEvent(&routines[i].isKept, NotificationEvent, FALSE);
  }
  for (std::size_t i = 0; i < 3; ++i) {
    Layer& layer = *Upper()[i];
    layer.dispatch = [this, &layer, &routine = routines[i]](PDEVICE_OBJECT device, PIRP irp) {
      EXPECT_EQ(layer.Device(), device);
      return PassDown(layer, routine, irp);
    };
  }
  bottom_.dispatch = [this](PDEVICE_OBJECT /*device*/, PIRP irp) { return AtBottom(irp); };

  PIRP irp = MakeOwnIrp(first_.Device());
  irp->Cancel = GetParam().isCancelled ? TRUE : FALSE;
  IoSetCompletionRoutine(irp, OnBackAtOriginator, &routines[3], TRUE, TRUE, TRUE);
  const NTSTATUS returned = IoCallDriver(first_.Device(), irp);
  KeWaitForSingleObject(&routines[3].isKept, Executive, KernelMode, FALSE, nullptr);

  const std::string trace = GetParam().trace;
  EXPECT_EQ(trace, trace_);
  EXPECT_EQ(GetParam().status, irp->IoStatus.Status);
  EXPECT_EQ(trace.back() == 'p' ? STATUS_PENDING : GetParam().status, returned);
  IoFreeIrp(irp);
  EXPECT_EQ(irpsBefore, zr::host::IrpCount());
}

constexpr NTSTATUS kError = STATUS_UNSUCCESSFUL;

INSTANTIATE_TEST_SUITE_P(
    FourDrivers, CompletionTest,
    testing::Values(
        CompletionCase{"AtOnce", "rrr", false, false, STATUS_SUCCESS, "2 1 0 o"},
        CompletionCase{"Later", "rrr", true, false, STATUS_SUCCESS, "2p 1p 0p op"},
        CompletionCase{"MarkCrossesALayerWithoutRoutine", "rcr", true, false, STATUS_SUCCESS,
                       "2p 0p op"},
        CompletionCase{"MarkCrossesALayerThatSkips", "rsr", true, false, kError, "2p 0p op"},
        CompletionCase{"MarkCrossesToTheOriginator", "csc", true, false, kError, "op"},
        CompletionCase{"SkippedByAll", "sss", false, false, kError, "o"},
        CompletionCase{"WaitedForWhilePending", "rwr", true, false, STATUS_SUCCESS, "2p 1p 0 o"},
        CompletionCase{"WaitedForByTheTop", "wrr", true, false, kError, "2p 1p 0p o"},
        CompletionCase{"WaitedForThoughComplete", "rwr", false, false, STATUS_SUCCESS, "2 1 0 o"},
        CompletionCase{"KeptAndCompletedByAThread", "rhr", true, false, STATUS_SUCCESS,
                       "2p 1p 0p op"},
        CompletionCase{"KeptThoughCompleteBelow", "rhr", false, false, kError, "2 1 0p op"},
        CompletionCase{"KeptTwice", "hhr", true, false, STATUS_SUCCESS, "2p 1p 0p op"},
        CompletionCase{"RoutinesForSuccess", "+-x", false, false, STATUS_SUCCESS, "0 o"},
        CompletionCase{"RoutinesForErrors", "+-x", false, false, kError, "1 o"},
        CompletionCase{"WarningsAreErrors", "+-x", false, false, STATUS_BUFFER_OVERFLOW, "1 o"},
        CompletionCase{"RoutinesForCancelled", "+-x", true, true, STATUS_CANCELLED, "2p 1p op"},
        CompletionCase{"CancelledButSuccessful", "+-x", true, true, STATUS_SUCCESS, "2p 0p op"},
        CompletionCase{"StatusCancelledAlone", "+-x", false, false, STATUS_CANCELLED, "1 o"}),
    [](const auto& info) { return info.param.name; });

// A failure that is presented as pending: the dispatch routine says so before its completion
// routine could know, or after.
TEST(PendingTest, CompletionRoutineMayMarkWhatTheDispatchRoutineReturns) {
  Layer bottom;
  Layer top(&bottom);
  bottom.dispatch = [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, kError); };
  top.dispatch = [&top](PDEVICE_OBJECT, PIRP irp) {
    IoCopyCurrentIrpStackLocationToNext(irp);
    PIO_COMPLETION_ROUTINE mark = [](PDEVICE_OBJECT, PIRP completed, PVOID) -> NTSTATUS {
      IoMarkIrpPending(completed);
      return STATUS_SUCCESS;
    };
    IoSetCompletionRoutine(irp, mark, nullptr, TRUE, TRUE, TRUE);
    IoCallDriver(top.Lower(), irp);
    return STATUS_PENDING;
  };
  PIRP irp = MakeOwnIrp(top.Device());
  EXPECT_EQ(STATUS_PENDING, IoCallDriver(top.Device(), irp));
  EXPECT_EQ(TRUE, irp->PendingReturned);
  IoFreeIrp(irp);
}

// The location is the lower driver's as well then, which completes without pending.
TEST(PendingTest, SkippedLocationMayBeMarkedBeforehand) {
  Layer bottom;
  Layer top(&bottom);
  bottom.dispatch = [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, STATUS_SUCCESS); };
  top.dispatch = [&top](PDEVICE_OBJECT, PIRP irp) {
    IoMarkIrpPending(irp);
    IoSkipCurrentIrpStackLocation(irp);
    IoCallDriver(top.Lower(), irp);
    return STATUS_PENDING;
  };
  PIRP irp = MakeOwnIrp(top.Device());
  EXPECT_EQ(STATUS_PENDING, IoCallDriver(top.Device(), irp));
  EXPECT_EQ(TRUE, irp->PendingReturned);
  IoFreeIrp(irp);
}

// --- Requests of the I/O manager ---

TEST(SynchronousRequestTest, StatusEventAndMemoryAtOnceAndLater) {
  const std::size_t before = zr::host::IrpCount();
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
    EXPECT_EQ(STATUS_SUCCESS,
              KeWaitForSingleObject(&request.event, Executive, KernelMode, FALSE, nullptr));
    EXPECT_EQ(kError, request.status.Status);
    EXPECT_EQ(7U, request.status.Information);
    EXPECT_EQ(before, zr::host::IrpCount());
    if (worker.joinable()) worker.join();
  }
}

TEST(SynchronousRequestTest, UnsentRequestIsGivenBackByCompletingIt) {
  const std::size_t before = zr::host::IrpCount();
  Layer layer;
  PnpRequest request(layer.Device());
  Complete(request.irp, STATUS_CANCELLED);
  EXPECT_EQ(STATUS_CANCELLED, request.status.Status);
  EXPECT_EQ(before, zr::host::IrpCount());
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
  EXPECT_EQ(STATUS_NOT_SUPPORTED,
            zr::host::SendPnpRequest(bottom.Device(), IRP_MN_SURPRISE_REMOVAL));
  EXPECT_EQ(STATUS_SUCCESS, zr::host::SendPowerRequest(bottom.Device(), IRP_MN_SET_POWER));
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
  const std::size_t irpsBefore = zr::host::IrpCount();
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
    std::vector<std::thread> senders;
    for (int i = 0; i < kThreads; ++i) {
      senders.emplace_back([&] {
        for (int request = 0; request < kRequests; ++request) {
          EXPECT_EQ(STATUS_SUCCESS, zr::host::SendRequest(bottom.Device(), IRP_MJ_WRITE));
        }
      });
    }
    for (std::thread& sender : senders)
      sender.join();
    isStopping = true;
    completer.join();
  }
  EXPECT_EQ(kThreads * kRequests, completions);
  EXPECT_EQ(irpsBefore, zr::host::IrpCount());
}

// --- What misuse of IRPs meets ---

struct IrpMisuse {
  const char* name;
  BugCheck code;
  const char* text;
  // Runs as the dispatch routine of the top of two devices, whose bottom completes with success.
  NTSTATUS (*dispatch)(PDEVICE_OBJECT lower, PIRP irp);
  UCHAR major = IRP_MJ_INTERNAL_DEVICE_CONTROL;
};

class IrpMisuseTest : public testing::TestWithParam<IrpMisuse> {};

TEST_P(IrpMisuseTest, IsABugCheck) {
  Layer bottom;
  Layer top(&bottom);
  bottom.dispatch = [](PDEVICE_OBJECT, PIRP irp) {
    if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
    return Complete(irp, STATUS_SUCCESS);
  };
  top.dispatch = [&](PDEVICE_OBJECT, PIRP irp) { return GetParam().dispatch(top.Lower(), irp); };
  ExpectBugCheck(GetParam().code, GetParam().text, [&] {
    PIRP irp = MakeOwnIrp(top.Device(), GetParam().major);
    if (GetParam().major == IRP_MJ_POWER) {
      PoCallDriver(top.Device(), irp);
    } else {
      IoCallDriver(top.Device(), irp);
    }
  });
}

NTSTATUS CopyAndCall(PDEVICE_OBJECT lower, PIRP irp) {
  IoCopyCurrentIrpStackLocationToNext(irp);
  return IoCallDriver(lower, irp);
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, IrpMisuseTest,
    testing::Values(
        IrpMisuse{"CompletedTwice", BugCheck::kMultipleIrpCompleteRequests, "complete already",
                  [](PDEVICE_OBJECT, PIRP irp) {
                    Complete(irp, STATUS_SUCCESS);
                    return Complete(irp, STATUS_SUCCESS);
                  }},
        IrpMisuse{"TouchedAfterItWasPassedDown", BugCheck::kNoMoreIrpStackLocations,
                  "IoGetCurrentIrpStackLocation",
                  [](PDEVICE_OBJECT lower, PIRP irp) -> NTSTATUS {
                    CopyAndCall(lower, irp);
                    return IoGetCurrentIrpStackLocation(irp)->Control;
                  }},
        IrpMisuse{"SentBelowTheLastLocation", BugCheck::kNoMoreIrpStackLocations, "IofCallDriver",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    static PDEVICE_OBJECT target;
                    target = lower;
                    DispatchOf(lower) = [](PDEVICE_OBJECT, PIRP sent) {
                      return IoCallDriver(target, sent);
                    };
                    return CopyAndCall(lower, irp);
                  }},
        IrpMisuse{"CopiedBelowTheLastLocation", BugCheck::kNoMoreIrpStackLocations,
                  "IoCopyCurrentIrpStackLocationToNext",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    DispatchOf(lower) = [](PDEVICE_OBJECT, PIRP sent) -> NTSTATUS {
                      IoCopyCurrentIrpStackLocationToNext(sent);
                      return STATUS_SUCCESS;
                    };
                    return CopyAndCall(lower, irp);
                  }},
        IrpMisuse{"SkippedBeyondTheFirstLocation", BugCheck::kNoMoreIrpStackLocations,
                  "IoSkipCurrentIrpStackLocation",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    IoSkipCurrentIrpStackLocation(irp);
                    IoSkipCurrentIrpStackLocation(irp);
                    return IoCallDriver(lower, irp);
                  }},
        IrpMisuse{"CompletedAsPending", BugCheck::kDriverVerifierDetectedViolation,
                  "completed with STATUS_PENDING",
                  [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, STATUS_PENDING); }},
        IrpMisuse{"ReturnedPendingUnmarkedAndComplete", BugCheck::kDriverVerifierDetectedViolation,
                  "never marked",
                  [](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
                    Complete(irp, STATUS_SUCCESS);
                    return STATUS_PENDING;
                  }},
        IrpMisuse{"MarkedButReturnedOtherwise", BugCheck::kDriverVerifierDetectedViolation,
                  "marked its stack location pending and returned 0x0",
                  [](PDEVICE_OBJECT, PIRP irp) {
                    IoMarkIrpPending(irp);
                    return Complete(irp, STATUS_SUCCESS);
                  }},
        IrpMisuse{"ReturnedWithoutCompleting", BugCheck::kDriverVerifierDetectedViolation,
                  "had not been completed",
                  [](PDEVICE_OBJECT, PIRP) -> NTSTATUS { return STATUS_SUCCESS; }},
        IrpMisuse{"FreedInAnothersHands", BugCheck::kDriverVerifierDetectedViolation,
                  "still has it",
                  [](PDEVICE_OBJECT, PIRP irp) -> NTSTATUS {
                    IoFreeIrp(irp);
                    return STATUS_SUCCESS;
                  }},
        IrpMisuse{"CompletedWithACancelRoutine", BugCheck::kDriverVerifierDetectedViolation,
                  "completed with a cancel routine",
                  [](PDEVICE_OBJECT, PIRP irp) {
                    IoSetCancelRoutine(irp, [](PDEVICE_OBJECT, PIRP) {});
                    return Complete(irp, STATUS_SUCCESS);
                  }},
        IrpMisuse{"ReturnedAtAnotherIrql", BugCheck::kDriverVerifierDetectedViolation,
                  "called at IRQL 0 and returned at 2",
                  [](PDEVICE_OBJECT, PIRP irp) {
                    KfRaiseIrql(DISPATCH_LEVEL);
                    return Complete(irp, STATUS_SUCCESS);
                  }},
        IrpMisuse{"CompletedAboveDispatchLevel", BugCheck::kIrqlNotLessOrEqual,
                  "IofCompleteRequest may run at IRQL 2",
                  [](PDEVICE_OBJECT, PIRP irp) {
                    const zr::host::AtIrql high(HIGH_LEVEL);
                    return Complete(irp, STATUS_SUCCESS);
                  }},
        IrpMisuse{"PnpPassedDownAtDispatchLevel", BugCheck::kIrqlNotLessOrEqual, "IRP_MJ_PNP",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
                    return CopyAndCall(lower, irp);
                  },
                  IRP_MJ_PNP},
        IrpMisuse{"PowerPassedDownLikeOthers", BugCheck::kDriverVerifierDetectedViolation,
                  "passed down with PoCallDriver",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    PoStartNextPowerIrp(irp);
                    return CopyAndCall(lower, irp);
                  },
                  IRP_MJ_POWER},
        IrpMisuse{"PowerSkippedBeforeTheNextMayStart", BugCheck::kDriverVerifierDetectedViolation,
                  "PoStartNextPowerIrp",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    IoSkipCurrentIrpStackLocation(irp);
                    return PoCallDriver(lower, irp);
                  },
                  IRP_MJ_POWER},
        IrpMisuse{"PowerCopiedAndTheNextNeverStarted", BugCheck::kDriverVerifierDetectedViolation,
                  "PoStartNextPowerIrp",
                  [](PDEVICE_OBJECT lower, PIRP irp) {
                    IoCopyCurrentIrpStackLocationToNext(irp);
                    return PoCallDriver(lower, irp);
                  },
                  IRP_MJ_POWER}),
    [](const auto& info) { return info.param.name; });

// The dispatch routine has long returned; the one who completes finds what it said.
TEST(IrpMisuse, PendingReturnedUnmarkedIsFoundWhenItCompletes) {
  Layer layer;
  layer.dispatch = [](PDEVICE_OBJECT, PIRP) -> NTSTATUS { return STATUS_PENDING; };
  PIRP irp = MakeOwnIrp(layer.Device());
  EXPECT_EQ(STATUS_PENDING, IoCallDriver(layer.Device(), irp));
  ExpectBugCheck(BugCheck::kDriverVerifierDetectedViolation, "never marked",
                 [irp] { Complete(irp, STATUS_SUCCESS); });
}

TEST(IrpMisuse, FreedIrpIsNotTouchedAgain) {
  Layer layer;
  layer.dispatch = [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, STATUS_SUCCESS); };
  PnpRequest request(layer.Device());
  IoCallDriver(layer.Device(), request.irp);
  PIRP own = IoAllocateIrp(1, FALSE);
  IoFreeIrp(own);
  for (PIRP irp : {request.irp, own}) {
    ExpectBugCheck(BugCheck::kMultipleIrpCompleteRequests, "IofCompleteRequest",
                   [irp] { IoCompleteRequest(irp, IO_NO_INCREMENT); });
    const std::function<void()> touches[] = {
        [irp] { IoGetCurrentIrpStackLocation(irp); },
        [irp] { IoGetNextIrpStackLocation(irp); },
        [irp] { IoSkipCurrentIrpStackLocation(irp); },
        [irp] { IoMarkIrpPending(irp); },
        [irp] { IoCopyCurrentIrpStackLocationToNext(irp); },
        [irp] { IoSetCompletionRoutine(irp, KeepIrp, nullptr, TRUE, TRUE, TRUE); },
        [&] { IoCallDriver(layer.Device(), irp); },
        [irp] { IoCancelIrp(irp); },
        [irp] { IoFreeIrp(irp); }};
    for (const auto& touch : touches) {
      ExpectBugCheck(BugCheck::kDriverVerifierDetectedViolation, "has been freed", touch);
    }
  }
}

TEST(IrpMisuse, OwnershipOfTheMaker) {
  Layer layer;
  layer.dispatch = [](PDEVICE_OBJECT, PIRP irp) { return Complete(irp, STATUS_SUCCESS); };
  PnpRequest request(layer.Device());
  ExpectBugCheck(BugCheck::kDriverVerifierDetectedViolation, "belongs to the I/O manager",
                 [&] { IoFreeIrp(request.irp); });
  Complete(request.irp, STATUS_SUCCESS);

  PIRP unclaimed = IoAllocateIrp(1, FALSE);
  ExpectBugCheck(BugCheck::kNoMoreIrpStackLocations, "IoMarkIrpPending",
                 [&] { IoMarkIrpPending(unclaimed); });
  IoGetNextIrpStackLocation(unclaimed)->MajorFunction = IRP_MJ_WRITE;
  ExpectBugCheck(BugCheck::kDriverVerifierDetectedViolation, "takes it back",
                 [&] { IoCallDriver(layer.Device(), unclaimed); });
  IoFreeIrp(unclaimed);
}

// --- Devices and drivers ---

TEST(DeviceTest, StackSizesAndLinks) {
  Layer bottom;
  Layer middle(&bottom);
  Layer top(&bottom);  // The stack below may be named by any of its devices.
  EXPECT_EQ(1, bottom.Device()->StackSize);
  EXPECT_EQ(3, top.Device()->StackSize);
  EXPECT_EQ(middle.Device(), top.Lower());
  EXPECT_EQ(middle.Device(), bottom.Device()->AttachedDevice);
}

TEST(DeviceTest, MemoryGoesWithTheLastReferenceAndTheLastDeviceOnTop) {
  const std::size_t before = zr::host::DeviceCount();
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver);
  EXPECT_EQ(lower, IoAttachDeviceToDeviceStack(upper, lower));
  EXPECT_EQ(upper, IoGetAttachedDeviceReference(lower));
  EXPECT_EQ(upper, IoGetAttachedDeviceReference(lower));

  IoDeleteDevice(lower);  // As a bus does, before the drivers above are through with it.
  EXPECT_EQ(before + 2, zr::host::DeviceCount());
  IoDetachDevice(lower);
  EXPECT_EQ(before + 1, zr::host::DeviceCount());
  IoDeleteDevice(upper);
  EXPECT_EQ(nullptr, driver.Object()->DeviceObject);
  PDEVICE_OBJECT late = MakeDevice(driver);
  EXPECT_EQ(nullptr, IoAttachDeviceToDeviceStack(late, upper));
  IoDeleteDevice(late);
  EXPECT_EQ(1, ObfDereferenceObject(upper));
  EXPECT_EQ(before + 1, zr::host::DeviceCount());
  EXPECT_EQ(0, ObfDereferenceObject(upper));
  EXPECT_EQ(before, zr::host::DeviceCount());
}

TEST(DeviceTest, FailuresOnDemandAndRefusals) {
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver);
  zr::host::FailDeviceCreations(1);
  PDEVICE_OBJECT none = nullptr;
  EXPECT_EQ(STATUS_INSUFFICIENT_RESOURCES,
            IoCreateDevice(driver.Object(), 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &none));
  zr::host::FailDeviceAttachments(1);
  EXPECT_EQ(nullptr, IoAttachDeviceToDeviceStack(upper, lower));
  lower->Flags |= DO_DEVICE_INITIALIZING;
  EXPECT_EQ(nullptr, IoAttachDeviceToDeviceStack(upper, lower));
  zr::host::FailIrpAllocations(1);
  EXPECT_EQ(nullptr, PnpRequest(lower).irp);
  // The driver has no routine of its own for these.
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, zr::host::SendPnpRequest(upper, IRP_MN_START_DEVICE));
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, zr::host::SendPowerRequest(upper, IRP_MN_SET_POWER));
  IoDeleteDevice(upper);
  IoDeleteDevice(lower);
}

TEST(DeviceMisuse, IsABugCheck) {
  LoadedDriver driver(EnterPlainDriver);
  PDEVICE_OBJECT lower = MakeDevice(driver);
  PDEVICE_OBJECT upper = MakeDevice(driver, 3);
  PDEVICE_OBJECT gone = MakeDevice(driver);
  IoDeleteDevice(gone);
  constexpr BugCheck kViolation = BugCheck::kDriverVerifierDetectedViolation;
  ExpectBugCheck(kViolation, "has been deleted", [&] { IoDeleteDevice(gone); });
  ExpectBugCheck(kViolation, "has been deleted", [&] { IoAttachDeviceToDeviceStack(upper, gone); });
  ExpectBugCheck(kViolation, "has been deleted", [&] { IoGetAttachedDeviceReference(gone); });
  ExpectBugCheck(kViolation, "has been deleted", [&] {
    PIRP irp = MakeOwnIrp(lower);
    IoCallDriver(gone, irp);
  });
  ExpectBugCheck(kViolation, "nothing is attached", [&] { IoDetachDevice(lower); });
  ExpectBugCheck(kViolation, "nobody holds a reference", [&] { ObfDereferenceObject(lower); });
  IoAttachDeviceToDeviceStack(upper, lower);
  ExpectBugCheck(kViolation, "still attached", [&] { IoDeleteDevice(upper); });
  ExpectBugCheck(kViolation, "attached already",
                 [&] { IoAttachDeviceToDeviceStack(upper, lower); });
  ExpectBugCheck(kViolation, "stand on itself", [&] { IoAttachDeviceToDeviceStack(lower, upper); });
  IoDetachDevice(lower);
  ExpectBugCheck(BugCheck::kIrqlNotLessOrEqual, "IoDeleteDevice may run at IRQL 0", [&] {
    const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
    IoDeleteDevice(upper);
  });

  auto* const extension = static_cast<UCHAR*>(upper->DeviceExtension);
  const UCHAR guard = std::exchange(extension[3], UCHAR{0});
  ExpectBugCheck(BugCheck::kBadPoolHeader, "the extension has 3 bytes",
                 [&] { IoDeleteDevice(upper); });
  extension[3] = guard;
  IoGetAttachedDeviceReference(upper);
  IoDeleteDevice(upper);
  ExpectBugCheck(kViolation, "deleted before", [&] { IoDeleteDevice(upper); });
  ObDereferenceObject(upper);
  IoDeleteDevice(lower);
}

TEST(DriverMisuse, IsABugCheck) {
  static PDEVICE_OBJECT left;
  PDRIVER_INITIALIZE enter = [](PDRIVER_OBJECT driver, PUNICODE_STRING) -> NTSTATUS {
    driver->DriverExtension->AddDevice = [](PDRIVER_OBJECT self, PDEVICE_OBJECT) -> NTSTATUS {
      return IoCreateDevice(self, 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &left);
    };
    return STATUS_SUCCESS;
  };
  constexpr BugCheck kViolation = BugCheck::kDriverVerifierDetectedViolation;
  LoadedDriver bus(EnterPlainDriver);
  PDEVICE_OBJECT physical = MakeDevice(bus);
  EXPECT_EQ(STATUS_INVALID_DEVICE_REQUEST, bus.AddDevice(physical));
  LoadedDriver driver(enter);
  ExpectBugCheck(kViolation, "DO_DEVICE_INITIALIZING", [&] { driver.AddDevice(physical); });
  IoGetAttachedDeviceReference(left);
  IoDeleteDevice(left);
  ExpectBugCheck(kViolation, "device objects left after its unload", [&] { driver.Unload(); });
  ObDereferenceObject(left);
  IoDeleteDevice(physical);

  PDRIVER_INITIALIZE fail = [](PDRIVER_OBJECT, PUNICODE_STRING) -> NTSTATUS {
    return STATUS_INSUFFICIENT_RESOURCES;
  };
  EXPECT_THROW(LoadedDriver failed(fail), std::runtime_error);
}

}  // namespace
