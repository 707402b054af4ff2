// IRQL, locks, waits, the floating-point bracket, debug output and bug checks of the host kernel:
// what drivers are promised, and that each misuse stops the system with its own code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/control/debug_control.h"
#include "platform/host/control/execution_control.h"
#include "platform/host/debug.h"
#include "platform/host/execution.h"
#include "platform/host/wide_text.h"

using namespace zr::host;
using testing::HasSubstr;

namespace {

struct MisuseRow {
  const char* what;
  BugCheck code;
  const char* message;
  std::function<void()> run;
};

void ExpectBugChecks(const std::vector<MisuseRow>& rows) {
  for (const MisuseRow& row : rows) {
    const ExpectedBugCheck expected;
    try {
      row.run();
      ADD_FAILURE() << row.what << ": nothing stopped it";
    } catch (const BugCheckError& error) {
      EXPECT_EQ(error.Code(), static_cast<ULONG>(row.code)) << row.what << ": " << error.what();
      EXPECT_THAT(error.what(), HasSubstr(row.message)) << row.what;
    }
  }
  EXPECT_EQ(KeGetCurrentIrql(), PASSIVE_LEVEL);
}

void OnAnotherThread(const std::function<void()>& run) {
  std::thread(run).join();
}

NTSTATUS Wait(PVOID object, LONGLONG hundredNanoseconds) {
  LARGE_INTEGER timeout;
  timeout.QuadPart = hundredNanoseconds;
  return KeWaitForSingleObject(object, Executive, KernelMode, FALSE, &timeout);
}

NTSTATUS WaitForEver(PVOID object) {
  return KeWaitForSingleObject(object, Executive, KernelMode, FALSE, nullptr);
}

TEST(Execution, MisusesStopTheSystem) {
  static KSPIN_LOCK lock;
  static KEVENT event;
  static KMUTEX mutex;
  KeInitializeSpinLock(&lock);
  KeInitializeEvent(&event, NotificationEvent, FALSE);
  KeInitializeMutex(&mutex, 0);
  ExpectBugChecks({
      {"raising downwards", BugCheck::kIrqlNotGreaterOrEqual, "from IRQL 2 to 1",
       [] {
         KfRaiseIrql(DISPATCH_LEVEL);
         KfRaiseIrql(APC_LEVEL);
       }},
      {"lowering upwards", BugCheck::kIrqlNotLessOrEqual, "from IRQL 0 to 2",
       [] { KfLowerIrql(DISPATCH_LEVEL); }},
      {"a spin lock above dispatch level", BugCheck::kIrqlNotLessOrEqual, "KfAcquireSpinLock",
       [] {
         KfRaiseIrql(HIGH_LEVEL);
         KfAcquireSpinLock(&lock);
       }},
      {"releasing a free spin lock", BugCheck::kSpinLockNotOwned, "does not hold",
       [] { KfReleaseSpinLock(&lock, PASSIVE_LEVEL); }},
      {"releasing what a thread that ended holds", BugCheck::kSpinLockNotOwned, "does not hold",
       [] {
         KSPIN_LOCK orphan = 0;
         OnAnotherThread([&] { KfAcquireSpinLock(&orphan); });
         KfRaiseIrql(DISPATCH_LEVEL);
         KfReleaseSpinLock(&orphan, PASSIVE_LEVEL);
       }},
      {"releasing after lowering the IRQL", BugCheck::kDriverVerifierDetectedViolation, "at IRQL 0",
       [] {
         KSPIN_LOCK own = 0;
         KfAcquireSpinLock(&own);
         KfLowerIrql(PASSIVE_LEVEL);
         KfReleaseSpinLock(&own, PASSIVE_LEVEL);
       }},
      {"waiting at dispatch level", BugCheck::kIrqlNotLessOrEqual, "KeWaitForSingleObject",
       [] {
         KfRaiseIrql(DISPATCH_LEVEL);
         WaitForEver(&event);
       }},
      {"signalling with a wait to follow at dispatch level", BugCheck::kIrqlNotLessOrEqual,
       "KeSetEvent",
       [] {
         KfRaiseIrql(DISPATCH_LEVEL);
         KeSetEvent(&event, 0, TRUE);
       }},
      {"an event that nobody initialised", BugCheck::kDriverVerifierDetectedViolation,
       "not initialised",
       [] {
         KEVENT raw = {};
         KeSetEvent(&raw, 0, FALSE);
       }},
      {"waiting for a copy of an event", BugCheck::kDriverVerifierDetectedViolation,
       "not initialised",
       [] {
         KEVENT copy = event;
         Wait(&copy, 0);
       }},
      {"a mutex taken for an event", BugCheck::kDriverVerifierDetectedViolation, "another kind",
       [] { KeSetEvent(reinterpret_cast<PKEVENT>(&mutex), 0, FALSE); }},
      {"releasing a free mutex", BugCheck::kThreadNotMutexOwner, "does not own",
       [] { KeReleaseMutex(&mutex, FALSE); }},
      {"a bug check of the driver's own", static_cast<BugCheck>(0xFE),
       sizeof(PVOID) == 4 ? "0x000000FE (0x00000001, 0x00000002, 0x00000003, 0x00000004)"
                          : "0x000000FE (0x0000000000000001, 0x0000000000000002",
       [] { KeBugCheckEx(0xFE, 1, 2, 3, 4); }},
  });
}

TEST(Execution, ATakenSpinLockIsNotTakenAgain) {
  KSPIN_LOCK lock = 0;
  KIRQL old = HIGH_LEVEL;
  KeAcquireSpinLock(&lock, &old);
  {
    const ExpectedBugCheck expected;
    try {
      KfAcquireSpinLock(&lock);
      ADD_FAILURE();
    } catch (const BugCheckError& error) {
      EXPECT_EQ(error.Code(), static_cast<ULONG>(BugCheck::kSpinLockAlreadyOwned));
    }
  }
  EXPECT_EQ(old, PASSIVE_LEVEL);
  EXPECT_EQ(KeGetCurrentIrql(), DISPATCH_LEVEL);
  KeReleaseSpinLock(&lock, old);
  EXPECT_EQ(KeGetCurrentIrql(), PASSIVE_LEVEL);
}

TEST(ExecutionDeathTest, AnUnexpectedBugCheckEndsTheProcessWithItsCodes) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(KeBugCheckEx(0xFE, 0xA1, 2, 3, 4), "STOP: 0x000000FE \\(0x0*A1, ");
  EXPECT_DEATH(
      {
        const ExpectedBugCheck onThisThreadOnly;
        OnAnotherThread([] { KfLowerIrql(APC_LEVEL); });
      },
      "STOP: 0x0000000A: KfLowerIrql");
}

// More threads than processors and than slots of threads.
constexpr int kThreads = 40;

void OnManyThreads(const std::function<void()>& run) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(run);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(Execution, LocksKeepThreadsApart) {
  constexpr int kRounds = 500;
  KSPIN_LOCK lock = 0;
  KMUTEX mutex;
  KEVENT turnstile;
  KeInitializeMutex(&mutex, 0);
  KeInitializeEvent(&turnstile, SynchronizationEvent, TRUE);
  int underLock = 0;
  int underMutex = 0;
  int underEvent = 0;
  volatile LONG counted = 0;
  OnManyThreads([&] {
    for (int i = 0; i < kRounds; ++i) {
      const KIRQL old = KfAcquireSpinLock(&lock);
      ++underLock;
      KfReleaseSpinLock(&lock, old);
      WaitForEver(&mutex);
      ++underMutex;
      KeReleaseMutex(&mutex, FALSE);
      // Lets one waiter through for each time that it is set.
      WaitForEver(&turnstile);
      ++underEvent;
      KeSetEvent(&turnstile, 0, FALSE);
      InterlockedIncrement(&counted);
    }
  });
  EXPECT_EQ(underLock, kThreads * kRounds);
  EXPECT_EQ(underMutex, kThreads * kRounds);
  EXPECT_EQ(underEvent, kThreads * kRounds);
  EXPECT_EQ(counted, kThreads * kRounds);
}

TEST(Execution, InterlockedOperationsGiveThePublishedResults) {
  volatile LONG value = -1;
  EXPECT_EQ(InterlockedIncrement(&value), 0);
  EXPECT_EQ(InterlockedDecrement(&value), -1);
  EXPECT_EQ(InterlockedExchange(&value, 5), -1);
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 4), 5);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 5), 5);
  EXPECT_EQ(value, 9);
  int a = 0;
  int b = 0;
  PVOID volatile pointer = &a;
  EXPECT_EQ(InterlockedExchangePointer(&pointer, &b), &a);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, &a, &a), &b);
  EXPECT_EQ(pointer, &b);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, nullptr, &b), &b);
  EXPECT_EQ(pointer, nullptr);
}

TEST(Execution, AMutexRecursAndCountsItsReleases) {
  KMUTEX mutex;
  KeInitializeMutex(&mutex, 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(WaitForEver(&mutex), STATUS_SUCCESS);
  }
  const auto tryFromOutside = [&] {
    NTSTATUS status = STATUS_PENDING;
    OnAnotherThread([&] {
      status = Wait(&mutex, 0);
      if (status == STATUS_SUCCESS) KeReleaseMutex(&mutex, FALSE);
    });
    return status;
  };
  EXPECT_LT(KeReleaseMutex(&mutex, FALSE), 0);
  EXPECT_LT(KeReleaseMutex(&mutex, FALSE), 0);
  EXPECT_EQ(tryFromOutside(), STATUS_TIMEOUT);
  EXPECT_EQ(KeReleaseMutex(&mutex, FALSE), 0);
  EXPECT_EQ(tryFromOutside(), STATUS_SUCCESS);
}

TEST(Execution, EventsKeepOrLoseTheirSignal) {
  for (const EVENT_TYPE type : {NotificationEvent, SynchronizationEvent}) {
    const bool keeps = type == NotificationEvent;
    KEVENT event;
    KeInitializeEvent(&event, type, FALSE);
    const AtIrql atDispatch(DISPATCH_LEVEL);
    EXPECT_EQ(Wait(&event, 0), STATUS_TIMEOUT);
    EXPECT_EQ(KeSetEvent(&event, 0, FALSE), 0);
    EXPECT_NE(KeSetEvent(&event, 0, FALSE), 0);
    EXPECT_EQ(Wait(&event, 0), STATUS_SUCCESS);
    EXPECT_EQ(KeReadStateEvent(&event) != 0, keeps);
    EXPECT_EQ(Wait(&event, 0), keeps ? STATUS_SUCCESS : STATUS_TIMEOUT);
    KeClearEvent(&event);
    EXPECT_EQ(Wait(&event, 0), STATUS_TIMEOUT);
  }
}

TEST(Execution, TimeOutsRunRelativeAndAbsolute) {
  using std::chrono::steady_clock;
  using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;
  constexpr Ticks kDelay = std::chrono::milliseconds(30);
  // 134774 days lie between the beginnings of the two calendars.
  const Ticks since1601 =
      std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()) +
      std::chrono::hours(24 * 134774);
  KEVENT event;
  KeInitializeEvent(&event, NotificationEvent, FALSE);
  for (const LONGLONG timeout : {-kDelay.count(), (since1601 + 2 * kDelay).count()}) {
    const auto start = steady_clock::now();
    EXPECT_EQ(Wait(&event, timeout), STATUS_TIMEOUT);
    const auto waited = steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(20));
    EXPECT_LT(waited, std::chrono::seconds(20));
  }
  EXPECT_EQ(Wait(&event, 1), STATUS_TIMEOUT) << "a moment long past";
  // The longest times must not wrap into short ones.
  for (const LONGLONG timeout : {INT64_MIN, INT64_MAX}) {
    KeClearEvent(&event);
    NTSTATUS status = STATUS_PENDING;
    std::thread waiter([&] { status = Wait(&event, timeout); });
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    KeSetEvent(&event, 0, FALSE);
    waiter.join();
    EXPECT_EQ(status, STATUS_SUCCESS);
  }
}

TEST(Execution, AnEventMayVanishRightAfterItsWait) {
  std::atomic<PKEVENT> offered = nullptr;
  constexpr int kRounds = 2000;
  std::thread setter([&] {
    for (int i = 0; i < kRounds; ++i) {
      PKEVENT event = nullptr;
      while ((event = offered.exchange(nullptr)) == nullptr) {
        std::this_thread::yield();
      }
      KeSetEvent(event, 0, FALSE);
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    const auto event = std::make_unique<KEVENT>();
    KeInitializeEvent(event.get(), NotificationEvent, FALSE);
    offered = event.get();
    WaitForEver(event.get());
  }
  setter.join();
}

// x87 control word, MXCSR (0 where the build has no SSE), and the registers ST0 and XMM7.
struct FloatingPointState {
  uint16_t controlWord;
  uint32_t mxcsr;
};

FloatingPointState CurrentState() {
  alignas(16) unsigned char image[512];
  asm volatile("fxsave %0" : "=m"(image));
  FloatingPointState state = {};
  std::memcpy(&state.controlWord, image, sizeof(state.controlWord));
  std::memcpy(&state.mxcsr, image + 24, sizeof(state.mxcsr));
  return state;
}

void SetState(const FloatingPointState& state) {
  alignas(16) unsigned char image[512];
  asm volatile("fxsave %0" : "=m"(image));
  std::memcpy(image, &state.controlWord, sizeof(state.controlWord));
  std::memcpy(image + 24, &state.mxcsr, sizeof(state.mxcsr));
  asm volatile("fxrstor %0" : : "m"(image));
}

void ExpectState(const FloatingPointState& expected) {
  const FloatingPointState state = CurrentState();
  EXPECT_EQ(state.controlWord, expected.controlWord);
  EXPECT_EQ(state.mxcsr & 0xFFC0u, expected.mxcsr);
}

TEST(FloatingPoint, BracketsSaveAndRestoreTheState) {
  const FloatingPointState before = CurrentState();
  // Round up, double and single precision; flush to zero.
  const FloatingPointState user = {0xA7F, 0xDF80};
  const FloatingPointState inner = {0x07F, 0x5F80};
  const FloatingPointState kernel = {0x27F, 0x1F80};
  KFLOATING_SAVE saves[2];
  SetState(user);
  ASSERT_EQ(KeSaveFloatingPointState(&saves[0]), STATUS_SUCCESS);
  ExpectState(kernel);
  SetState(inner);
  ASSERT_EQ(KeSaveFloatingPointState(&saves[1]), STATUS_SUCCESS);
  ExpectState(kernel);
  EXPECT_EQ(FloatingPointDepth(), 2u);
  OnAnotherThread([] { EXPECT_EQ(FloatingPointDepth(), 0u); });
  EXPECT_EQ(KeRestoreFloatingPointState(&saves[1]), STATUS_SUCCESS);
  ExpectState(inner);
  EXPECT_EQ(KeRestoreFloatingPointState(&saves[0]), STATUS_SUCCESS);
  ExpectState(user);
  EXPECT_EQ(FloatingPointDepth(), 0u);
  SetState(before);
}

TEST(FloatingPoint, RegistersComeBackAndTheStackIsEmptyInBetween) {
  // One number on the register stack across the bracket. Nothing between the statements computes.
  alignas(16) unsigned char image[512];
  KFLOATING_SAVE save;
  asm volatile("fldpi");
  KeSaveFloatingPointState(&save);
  asm volatile("fxsave %0" : "=m"(image));
  KeRestoreFloatingPointState(&save);
  long double restored = 0;
  asm volatile("fstpt %0" : "=m"(restored));
  EXPECT_EQ(image[4], 0) << "registers in use";
  EXPECT_EQ(restored, 3.141592653589793238462643383279502884L);
}

TEST(FloatingPoint, MisusesStopTheSystem) {
  const FloatingPointState before = CurrentState();
  ExpectBugChecks({
      {"restoring what was never saved", BugCheck::kInvalidFloatingPointState, "nothing is saved",
       [] {
         KFLOATING_SAVE save = {};
         KeRestoreFloatingPointState(&save);
       }},
      {"restoring twice", BugCheck::kInvalidFloatingPointState, "restored already",
       [] {
         KFLOATING_SAVE save;
         KeSaveFloatingPointState(&save);
         KeRestoreFloatingPointState(&save);
         KeRestoreFloatingPointState(&save);
       }},
      {"restoring after a failed save in a place used before", BugCheck::kInvalidFloatingPointState,
       "nothing is saved",
       [] {
         KFLOATING_SAVE save;
         KeSaveFloatingPointState(&save);
         const FailFloatingPointSave failing;
         EXPECT_FALSE(NT_SUCCESS(KeSaveFloatingPointState(&save)));
         EXPECT_EQ(FloatingPointDepth(), 1u);
         KeRestoreFloatingPointState(&save);
       }},
      {"restoring in the order of saving", BugCheck::kInvalidFloatingPointState, "brackets nest",
       [] {
         KFLOATING_SAVE outer;
         KFLOATING_SAVE inner;
         KeSaveFloatingPointState(&outer);
         KeSaveFloatingPointState(&inner);
         KeRestoreFloatingPointState(&outer);
       }},
      {"restoring on another thread", BugCheck::kInvalidFloatingPointState, "another thread",
       [] {
         KFLOATING_SAVE save;
         OnAnotherThread([&] { KeSaveFloatingPointState(&save); });
         KeRestoreFloatingPointState(&save);
       }},
      {"restoring at another IRQL", BugCheck::kInvalidFloatingPointState, "another IRQL",
       [] {
         KFLOATING_SAVE save;
         KeSaveFloatingPointState(&save);
         KfRaiseIrql(DISPATCH_LEVEL);
         KeRestoreFloatingPointState(&save);
       }},
      {"saving above dispatch level", BugCheck::kIrqlNotLessOrEqual, "KeSaveFloatingPointState",
       [] {
         KFLOATING_SAVE save;
         KfRaiseIrql(HIGH_LEVEL);
         KeSaveFloatingPointState(&save);
       }},
  });
  EXPECT_EQ(FloatingPointDepth(), 0u);
  SetState(before);
}

TEST(Execution, TheStackBoundsHoldTheStack) {
  const auto check = [] {
    const int local = 0;
    const StackBounds bounds = CurrentStackBounds();
    EXPECT_LE(bounds.low, reinterpret_cast<ULONG_PTR>(&local));
    EXPECT_GT(bounds.high, reinterpret_cast<ULONG_PTR>(&local));
  };
  check();
  OnAnotherThread(check);
}

// Collects what goes to the sink.
class Debug : public testing::Test {
 protected:
  Debug() {
    SetDebugSink([this](std::string_view text) { lines_.emplace_back(text); });
  }
  ~Debug() override { SetDebugSink(nullptr); }

  std::vector<std::string> lines_;
};

TEST_F(Debug, LinesAndBreakPointsGoToTheSink) {
  const std::size_t before = BreakPointCount();
  DbgPrint("%s-%d\n", "line", 7);
  DbgPrint("%s", std::string(600, 'x').c_str());
  DbgBreakPoint();
  ASSERT_EQ(lines_.size(), 3u);
  EXPECT_EQ(lines_[0], "line-7\n");
  EXPECT_EQ(lines_[1], std::string(511, 'x')) << "the kernel passes on 512 bytes";
  EXPECT_EQ(BreakPointCount(), before + 1);
}

TEST_F(Debug, TheSinkHearsOneThreadAtATime) {
  OnManyThreads([] {
    for (int i = 0; i < 50; ++i) {
      DbgPrint("x");
    }
  });
  EXPECT_EQ(lines_.size(), std::size_t{kThreads} * 50);
}

struct FormatRow {
  std::string printed;
  const char* expected;
};

template <typename... Values>
std::string Printed(const char* format, Values... values) {
  char text[64];
  return _snprintf(text, sizeof(text), format, values...) < 0 ? "cut" : text;
}

TEST(KernelText, FormatsTakeTheKernelsArguments) {
  const WCHAR* const wide = u"USB\\VID_1\u20AC";
  const std::vector<FormatRow> rows = {
      {Printed("%d %i %u", -1, 2, 3u), "-1 2 3"},
      {Printed("%lx|%lu|%ld", 0xFFFFFFFFul, 0xFFFFFFFFul, -1L), "ffffffff|4294967295|-1"},
      {Printed("%lx", ~ULONG_PTR{0}), sizeof(PVOID) == 4 ? "ffffffff" : "ffffffffffffffff"},
      {Printed("%hx %hd", 0x12345, 0x1FFFF), "2345 -1"},
      {Printed("%I64x %lld %I32d", 0x123456789ABCLL, -5LL, -7), "123456789abc -5 -7"},
      {Printed("0x%08lX|%-6d|%+d|%#x|%05d", 0xABL, 12, 5, 16, -42),
       "0x000000AB|12    |+5|0x10|-0042"},
      {Printed("%*d|%-*d|%*d|%.3d", 4, 1, 4, 2, -4, 3, 7), "   1|2   |3   |007"},
      {Printed("%S|%ls|%ws|%.3S|%12S|%-4S|", wide, u"a", u"b", wide, wide, u"c"),
       "USB\\VID_1?|a|b|USB|  USB\\VID_1?|c   |"},
      {Printed("%s|%5s|%-5s|%.2s|%hs", "a", "b", "c", "defg", "h"), "a|    b|c    |de|h"},
      {Printed("%s %S", static_cast<const char*>(nullptr), static_cast<const WCHAR*>(nullptr)),
       "(null) (null)"},
      {Printed("%c%3c%%", 'x', 'y'), "x  y%"},
      {Printed("%.2f %g", 1.25, 0.5), "1.25 0.5"},
      {Printed("%p", reinterpret_cast<PVOID>(0xABCD)),
       sizeof(PVOID) == 4 ? "0000ABCD" : "000000000000ABCD"},
      {Printed("%d %s %lx %S %d %u %c %lx", 1, "2", 3L, u"4", 5, 6, '7', 8L), "1 2 3 4 5 6 7 8"},
  };
  for (const FormatRow& row : rows) {
    EXPECT_EQ(row.printed, row.expected);
  }
}

TEST(KernelText, NothingIsWrittenBeyondTheBuffer) {
  // Plain text, a conversion of the C library and a wide string each meet the end of the buffer.
  const std::string whole = "ab1234cde";
  for (std::size_t size = 0; size <= whole.size() + 2; ++size) {
    std::string text(16, '#');
    const int length = _snprintf(text.data(), size, "ab%d%S", 1234, u"cde");
    const std::size_t kept = size == 0 ? 0 : std::min(size - 1, whole.size());
    EXPECT_EQ(length, size > whole.size() ? static_cast<int>(whole.size()) : -1) << size;
    EXPECT_EQ(text.substr(0, kept), whole.substr(0, kept));
    EXPECT_EQ(text.substr(std::min(size, kept + 1)),
              std::string(16 - std::min(size, kept + 1), '#'));
    if (size > 0) {
      EXPECT_EQ(text[kept], '\0');
    }
  }
}

TEST(KernelText, MisusesStopTheSystem) {
  ExpectBugChecks({
      {"an unknown conversion", BugCheck::kDriverVerifierDetectedViolation, "a%qb",
       [] { Printed("a%qb", 1); }},
      {"a format that ends in a conversion", BugCheck::kDriverVerifierDetectedViolation, "50%",
       [] { Printed("50%"); }},
      {"a wide string at dispatch level", BugCheck::kIrqlNotLessOrEqual, "%S",
       [] {
         KfRaiseIrql(DISPATCH_LEVEL);
         Printed("%S", u"x");
       }},
      {"an unknown conversion in wide text", BugCheck::kDriverVerifierDetectedViolation, "%d",
       [] {
         WCHAR text[8];
         swprintf(text, u"%d", 1);
       }},
  });
}

TEST(KernelText, WideStrings) {
  WCHAR text[32] = u"";
  EXPECT_EQ(swprintf(text, u"A\\%s\\%s%%", u"bc", u""), 6);
  EXPECT_EQ(std::u16string(text), u"A\\bc\\%");
  EXPECT_EQ(wcscat(wcscpy(text, u"rev_"), u"8\u00E4z"), text);
  EXPECT_EQ(wcslen(text), 7u);
  EXPECT_EQ(std::u16string(_wcsupr(text)), u"REV_8\u00E4Z") << "letters a to z alone";
  EXPECT_EQ(wcsstr(text, u"V_8"), text + 2);
  EXPECT_EQ(wcsstr(text, u""), text);
  EXPECT_EQ(wcsstr(text, u"V_9"), nullptr);
}

}  // namespace
