// The way of IRPs upward: the order of completion routines over a stack of four drivers, and the
// rules for pending.
#include <array>
#include <cstring>
#include <mutex>
#include <string>

#include "tests/platform/device_stack.h"

using namespace zr::host;
using namespace zr::test;

namespace {

// How a layer treats its requests:
//   s     skips its location
//   S     marks it before that, and says pending whatever becomes of the request
//   c     copies its location, without a completion routine
//   r     with a routine for every outcome that passes the pending mark on
//   + - x with such a routine for success, for errors, for cancelled requests alone
//   m     with a routine that marks, and says pending whatever becomes of the request
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

  CompletionTest() : third_(bottom_.Device()), second_(third_.Device()), first_(second_.Device()) {}
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

  static NTSTATUS NTAPI OnComplete(PDEVICE_OBJECT device, PIRP irp, PVOID context) {
    auto* const routine = static_cast<Routine*>(context);
    CompletionTest& test = *routine->test;
    const bool isOriginator = routine->kind == 'o';
    EXPECT_EQ(isOriginator ? nullptr : test.Upper()[routine->index]->Device(), device);
    EXPECT_TRUE(isOriginator || IoGetCurrentIrpStackLocation(irp)->DeviceObject == device);
    test.Trace(isOriginator ? 'o' : static_cast<char>('0' + routine->index),
               irp->PendingReturned != FALSE);
    if (isOriginator || routine->kind == 'w' || routine->kind == 'h') {
      KeSetEvent(&routine->isKept, IO_NO_INCREMENT, FALSE);
      return STATUS_MORE_PROCESSING_REQUIRED;
    }
    if (irp->PendingReturned != FALSE || routine->kind == 'm') IoMarkIrpPending(irp);
    return STATUS_SUCCESS;
  }

  NTSTATUS PassDown(const Layer& layer, Routine& routine, PIRP irp) {
    const char kind = routine.kind;
    if (kind == 'S') IoMarkIrpPending(irp);
    if (kind == 's' || kind == 'S') {
      IoSkipCurrentIrpStackLocation(irp);
      const NTSTATUS status = IoCallDriver(layer.Lower(), irp);
      return kind == 'S' ? STATUS_PENDING : status;
    }
    IoCopyCurrentIrpStackLocationToNext(irp);
    if (kind == 'c') return IoCallDriver(layer.Lower(), irp);
    const bool isForAll = std::strchr("rmwh", kind) != nullptr;
    IoSetCompletionRoutine(irp, OnComplete, &routine, isForAll || kind == '+',
                           isForAll || kind == '-', isForAll || kind == 'x');
    if (kind == 'h') {
      IoMarkIrpPending(irp);
      threads_.emplace_back([&routine, irp] {
        WaitForEver(&routine.isKept);
        IoCompleteRequest(irp, IO_NO_INCREMENT);
      });
      IoCallDriver(layer.Lower(), irp);
      return STATUS_PENDING;
    }
    const NTSTATUS status = IoCallDriver(layer.Lower(), irp);
    if (kind != 'w') return kind == 'm' ? STATUS_PENDING : status;
    WaitForEver(&routine.isKept);
    return Complete(irp, irp->IoStatus.Status);
  }

  NTSTATUS AtBottom(PIRP irp) {
    const NTSTATUS status = GetParam().status;
    if (!GetParam().isLater) return Complete(irp, status);
    IoMarkIrpPending(irp);
    threads_.emplace_back([irp, status] { Complete(irp, status); });
    return STATUS_PENDING;
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
  const std::size_t irpsBefore = IrpCount();
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
  IoSetCompletionRoutine(irp, OnComplete, &routines[3], TRUE, TRUE, TRUE);
  const NTSTATUS returned = IoCallDriver(first_.Device(), irp);
  WaitForEver(&routines[3].isKept);

  const std::string trace = GetParam().trace;
  EXPECT_EQ(trace, trace_);
  EXPECT_EQ(GetParam().status, irp->IoStatus.Status);
  EXPECT_EQ(trace.back() == 'p' ? STATUS_PENDING : GetParam().status, returned);
  IoFreeIrp(irp);
  EXPECT_EQ(irpsBefore, IrpCount());
}

constexpr NTSTATUS kOk = STATUS_SUCCESS;
constexpr NTSTATUS kError = STATUS_UNSUCCESSFUL;

const CompletionCase kCases[] = {
    {"AtOnce", "rrr", false, false, kOk, "2 1 0 o"},
    {"Later", "rrr", true, false, kOk, "2p 1p 0p op"},
    {"MarkCrossesALayerWithoutRoutine", "rcr", true, false, kOk, "2p 0p op"},
    {"MarkCrossesALayerThatSkips", "rsr", true, false, kError, "2p 0p op"},
    {"MarkCrossesToTheOriginator", "csc", true, false, kError, "op"},
    {"SkippedByAll", "sss", false, false, kError, "o"},
    {"WaitedForWhilePending", "rwr", true, false, kOk, "2p 1p 0 o"},
    {"WaitedForByTheTop", "wrr", true, false, kError, "2p 1p 0p o"},
    {"WaitedForThoughComplete", "rwr", false, false, kOk, "2 1 0 o"},
    {"KeptAndCompletedByAThread", "rhr", true, false, kOk, "2p 1p 0p op"},
    {"KeptThoughCompleteBelow", "rhr", false, false, kError, "2 1 0p op"},
    {"KeptTwice", "hhr", true, false, kOk, "2p 1p 0p op"},
    {"MarkedByTheRoutine", "mcc", false, false, kError, "0 op"},
    {"MarkedAndSkipped", "Scc", false, false, kOk, "op"},
    {"RoutinesForSuccess", "+-x", false, false, kOk, "0 o"},
    {"RoutinesForErrors", "+-x", false, false, kError, "1 o"},
    {"WarningsAreErrors", "+-x", false, false, STATUS_BUFFER_OVERFLOW, "1 o"},
    {"RoutinesForCancelled", "+-x", true, true, STATUS_CANCELLED, "2p 1p op"},
    {"CancelledButSuccessful", "+-x", true, true, kOk, "2p 0p op"},
    {"StatusCancelledAlone", "+-x", false, false, STATUS_CANCELLED, "1 o"},
};

INSTANTIATE_TEST_SUITE_P(FourDrivers, CompletionTest, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

}  // namespace
