// The remove lock alone and under a race.
#include "support/remove_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

namespace {

TEST(RemoveLock, CountsHoldersAndTurnsLateOnesAway) {
  RemoveLock lock;
  RemoveLockInit(&lock);
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock), STATUS_SUCCESS);
  EXPECT_EQ(lock.Count, 2);
  EXPECT_EQ(KeReadStateEvent(&lock.Event), 0);
  RemoveLockReleaseAndWait(nullptr, &lock);
  EXPECT_EQ(lock.Count, 0);
  EXPECT_NE(KeReadStateEvent(&lock.Event), 0);
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock), STATUS_DELETE_PENDING);
  EXPECT_EQ(lock.Count, 0);
}

// A removal among holders that come and go: no one may hold once the wait is over, and the wait
// must end. What a holder reads of the device is poisoned right after it.
TEST(RemoveLock, NobodyHoldsAfterTheWait) {
  constexpr int kRounds = 10000;
  constexpr int kThreads = 8;
  struct Device {
    RemoveLock lock;
    int alive = 0;
  };
  Device device;
  std::atomic<int> holds = 0;
  std::atomic<int> deadReads = 0;
  std::barrier roundStarts(kThreads + 1);
  std::barrier roundEnds(kThreads + 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int round = 1; round <= kRounds; ++round) {
        roundStarts.arrive_and_wait();
        while (RemoveLockAcquire(nullptr, &device.lock) == STATUS_SUCCESS) {
          ++holds;
          if (device.alive != round) ++deadReads;
          RemoveLockRelease(nullptr, &device.lock);
          std::this_thread::yield();  // On few cores the others want their turn.
        }
        roundEnds.arrive_and_wait();
      }
    });
  }
  for (int round = 1; round <= kRounds; ++round) {
    RemoveLockInit(&device.lock);
    device.alive = round;
    ASSERT_EQ(RemoveLockAcquire(nullptr, &device.lock), STATUS_SUCCESS);
    roundStarts.arrive_and_wait();
    if (round % 4 == 0) std::this_thread::yield();
    RemoveLockReleaseAndWait(nullptr, &device.lock);
    device.alive = 0;  // A holder that is left would race with this.
    roundEnds.arrive_and_wait();
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_GT(holds.load(), kRounds);
  EXPECT_EQ(deadReads.load(), 0);
  EXPECT_EQ(device.lock.Count, 0);
}

}  // namespace
