// IRQL, locks and waits of the host kernel: what drivers are promised, and that each misuse stops
// the system with its own code.
#include <chrono>

#include "platform/host/control/execution_control.h"
#include "platform/host/debug.h"
#include "tests/platform/bug_checks.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;

namespace {

class Execution : public testing::Test {
 protected:
  Execution() {
    KeInitializeEvent(&event_, NotificationEvent, FALSE);
    KeInitializeMutex(&mutex_, 0);
  }
  ~Execution() override { EXPECT_EQ(KeGetCurrentIrql(), PASSIVE_LEVEL); }

  KSPIN_LOCK lock_ = 0;
  KEVENT event_;
  KMUTEX mutex_;
};

TEST_F(Execution, MisusesStopTheSystem) {
  KSPIN_LOCK orphan = 0;
  OnAnotherThread([&] { KfAcquireSpinLock(&orphan); });
  KEVENT raw = {};
  KEVENT copy = event_;
  const char* const ownText = sizeof(PVOID) == 4
                                  ? "0x000000FE (0x00000001, 0x00000002, 0x00000003, 0x00000004)"
                                  : "0x000000FE (0x0000000000000001, 0x0000000000000002";
  KSPIN_LOCK taken = 0;
  const auto takeTwice = [&] {
    KfAcquireSpinLock(&taken);
    KfAcquireSpinLock(&taken);
  };
  const auto takeAndLower = [&] {
    KIRQL old = HIGH_LEVEL;
    KeAcquireSpinLock(&lock_, &old);
    EXPECT_EQ(old, PASSIVE_LEVEL);
    EXPECT_EQ(KeGetCurrentIrql(), DISPATCH_LEVEL);
    KfLowerIrql(PASSIVE_LEVEL);
    KfReleaseSpinLock(&lock_, PASSIVE_LEVEL);
  };
  ExpectBugChecks({
      {"raising downwards", kIrqlNotGreaterOrEqual, "from IRQL 2 to 1",
       [] { KfRaiseIrql(APC_LEVEL); }, DISPATCH_LEVEL},
      {"lowering upwards", kIrqlNotLessOrEqual, "from IRQL 0 to 2",
       [] { KfLowerIrql(DISPATCH_LEVEL); }},
      {"a spin lock above dispatch level", kIrqlNotLessOrEqual, "KfAcquireSpinLock",
       [&] { KfAcquireSpinLock(&lock_); }, HIGH_LEVEL},
      {"taking a spin lock twice", kSpinLockAlreadyOwned, "KfAcquireSpinLock", takeTwice},
      {"releasing a free spin lock", kSpinLockNotOwned, "does not hold",
       [&] { KfReleaseSpinLock(&lock_, PASSIVE_LEVEL); }},
      {"releasing what a thread that ended holds", kSpinLockNotOwned, "does not hold",
       [&] { KfReleaseSpinLock(&orphan, PASSIVE_LEVEL); }, DISPATCH_LEVEL},
      {"releasing after lowering the IRQL", kViolation, "at IRQL 0", takeAndLower},
      {"waiting at dispatch level", kIrqlNotLessOrEqual, "KeWaitForSingleObject",
       [&] { WaitForEver(&event_); }, DISPATCH_LEVEL},
      {"signalling with a wait to follow", kIrqlNotLessOrEqual, "KeSetEvent",
       [&] { KeSetEvent(&event_, 0, TRUE); }, DISPATCH_LEVEL},
      {"an event that nobody initialised", kViolation, "not initialised",
       [&] { KeSetEvent(&raw, 0, FALSE); }},
      {"waiting for a copy of an event", kViolation, "not initialised", [&] { Wait(&copy, 0); }},
      {"a mutex taken for an event", kViolation, "another kind",
       [&] { KeSetEvent(reinterpret_cast<PKEVENT>(&mutex_), 0, FALSE); }},
      {"releasing a free mutex", kThreadNotMutexOwner, "does not own",
       [&] { KeReleaseMutex(&mutex_, FALSE); }},
      {"a bug check of the driver's own", static_cast<BugCheck>(0xFE), ownText,
       [] { KeBugCheckEx(0xFE, 1, 2, 3, 4); }},
  });
}

TEST(ExecutionDeathTest, AnUnexpectedBugCheckEndsTheProcessWithItsCodes) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(KeBugCheckEx(0xFE, 0xA1, 2, 3, 4), "STOP: 0x000000FE \\(0x0*A1, ");
  const auto expectOnThisThreadOnly = [] {
    const ExpectedBugCheck expected;
    OnAnotherThread([] { KfLowerIrql(APC_LEVEL); });
  };
  EXPECT_DEATH(expectOnThisThreadOnly(), "STOP: 0x0000000A: KfLowerIrql");
}

TEST_F(Execution, LocksKeepThreadsApart) {
  constexpr int kThreads = 40;  // More than processors and than slots of threads.
  constexpr int kRounds = 500;
  KEVENT turnstile;  // Lets one waiter through for each time that it is set.
  KeInitializeEvent(&turnstile, SynchronizationEvent, TRUE);
  int underLock = 0;
  int underMutex = 0;
  int underEvent = 0;
  volatile LONG counted = 0;
  OnThreads(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      const KIRQL old = KfAcquireSpinLock(&lock_);
      ++underLock;
      KfReleaseSpinLock(&lock_, old);
      WaitForEver(&mutex_);
      ++underMutex;
      KeReleaseMutex(&mutex_, FALSE);
      WaitForEver(&turnstile);
      ++underEvent;
      KeSetEvent(&turnstile, 0, FALSE);
      InterlockedIncrement(&counted);
    }
  });
  for (const int count : {underLock, underMutex, underEvent, static_cast<int>(counted)})
    EXPECT_EQ(count, kThreads * kRounds);
}

TEST_F(Execution, InterlockedOperationsGiveThePublishedResults) {
  volatile LONG value = -1;
  EXPECT_EQ(InterlockedIncrement(&value), 0);
  EXPECT_EQ(InterlockedDecrement(&value), -1);
  EXPECT_EQ(InterlockedExchange(&value, 5), -1);
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 4), 5);
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 5), 5);
  EXPECT_EQ(value, 9);
  int a = 0;
  int b = 0;
  PVOID volatile pointer = &a;
  EXPECT_EQ(InterlockedExchangePointer(&pointer, &b), &a);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, &a, &a), &b);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, nullptr, &b), &b);
  EXPECT_EQ(pointer, nullptr);
}

TEST_F(Execution, AMutexRecursAndCountsItsReleases) {
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(WaitForEver(&mutex_), STATUS_SUCCESS);
  const auto tryFromOutside = [&] {
    NTSTATUS status = STATUS_PENDING;
    OnAnotherThread([&] {
      status = Wait(&mutex_, 0);
      if (status == STATUS_SUCCESS) KeReleaseMutex(&mutex_, FALSE);
    });
    return status;
  };
  EXPECT_LT(KeReleaseMutex(&mutex_, FALSE), 0);
  EXPECT_LT(KeReleaseMutex(&mutex_, FALSE), 0);
  EXPECT_EQ(tryFromOutside(), STATUS_TIMEOUT);
  EXPECT_EQ(KeReleaseMutex(&mutex_, FALSE), 0);
  EXPECT_EQ(tryFromOutside(), STATUS_SUCCESS);
}

TEST_F(Execution, EventsKeepOrLoseTheirSignal) {
  for (const EVENT_TYPE type : {NotificationEvent, SynchronizationEvent}) {
    const bool keeps = type == NotificationEvent;
    KeInitializeEvent(&event_, type, FALSE);
    const AtIrql atDispatch(DISPATCH_LEVEL);
    EXPECT_EQ(Wait(&event_, 0), STATUS_TIMEOUT);
    EXPECT_EQ(KeSetEvent(&event_, 0, FALSE), 0);
    EXPECT_NE(KeSetEvent(&event_, 0, FALSE), 0);
    EXPECT_EQ(Wait(&event_, 0), STATUS_SUCCESS);
    EXPECT_EQ(KeReadStateEvent(&event_) != 0, keeps);
    EXPECT_EQ(Wait(&event_, 0), keeps ? STATUS_SUCCESS : STATUS_TIMEOUT);
    KeClearEvent(&event_);
    EXPECT_EQ(Wait(&event_, 0), STATUS_TIMEOUT);
  }
}

TEST_F(Execution, TimeOutsRunRelativeAndAbsolute) {
  using namespace std::chrono;
  using Ticks = duration<LONGLONG, std::ratio<1, 10'000'000>>;
  constexpr Ticks kDelay = milliseconds(30);
  // 134774 days lie between the beginnings of the two calendars.
  const Ticks since1601 =
      duration_cast<Ticks>(system_clock::now().time_since_epoch()) + hours(24 * 134774);
  for (const LONGLONG timeout : {-kDelay.count(), (since1601 + 2 * kDelay).count()}) {
    const auto start = steady_clock::now();
    EXPECT_EQ(Wait(&event_, timeout), STATUS_TIMEOUT);
    const auto waited = steady_clock::now() - start;
    EXPECT_GE(waited, milliseconds(20));
    EXPECT_LT(waited, seconds(20));
  }
  EXPECT_EQ(Wait(&event_, 1), STATUS_TIMEOUT) << "a moment long past";
  // The longest times must not wrap into short ones.
  for (const LONGLONG timeout : {INT64_MIN, INT64_MAX}) {
    KeClearEvent(&event_);
    NTSTATUS status = STATUS_PENDING;
    std::thread waiter([&] { status = Wait(&event_, timeout); });
    std::this_thread::sleep_for(milliseconds(10));
    KeSetEvent(&event_, 0, FALSE);
    waiter.join();
    EXPECT_EQ(status, STATUS_SUCCESS);
  }
}

TEST_F(Execution, AnEventMayVanishRightAfterItsWait) {
  std::atomic<PKEVENT> offered = nullptr;
  constexpr int kRounds = 2000;
  std::thread setter([&] {
    for (int i = 0; i < kRounds; ++i) {
      PKEVENT event = nullptr;
      while ((event = offered.exchange(nullptr)) == nullptr)
        std::this_thread::yield();
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

TEST_F(Execution, TheStackBoundsHoldTheStack) {
  const auto check = [] {
    const int local = 0;
    const StackBounds bounds = CurrentStackBounds();
    EXPECT_LE(bounds.low, reinterpret_cast<ULONG_PTR>(&local));
    EXPECT_GT(bounds.high, reinterpret_cast<ULONG_PTR>(&local));
  };
  check();
  OnAnotherThread(check);
}

}  // namespace
