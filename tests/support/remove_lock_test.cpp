// The remove lock alone and under a race.
#include "support/remove_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <random>
#include <thread>
#include <vector>

namespace {

// Whether a removal comes to its end. One that does not is set free, so that the test can fail.
bool RemovalEnds(RemoveLock& lock) {
  const auto removal =
      std::async(std::launch::async, [&lock] { RemoveLockReleaseAndWait(nullptr, &lock); });
  if (removal.wait_for(std::chrono::seconds(10)) == std::future_status::ready) return true;
  KeSetEvent(&lock.Event, IO_NO_INCREMENT, FALSE);
  return false;
}

TEST(RemoveLock, CountsHoldersAndTurnsLateOnesAway) {
  RemoveLock lock;
  RemoveLockInit(&lock);
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock), STATUS_SUCCESS);
  EXPECT_EQ(lock.Count, 2);
  EXPECT_EQ(KeReadStateEvent(&lock.Event), 0);
  EXPECT_TRUE(RemovalEnds(lock));
  EXPECT_EQ(lock.Count, 0);
  EXPECT_NE(KeReadStateEvent(&lock.Event), 0);
  EXPECT_EQ(RemoveLockAcquire(nullptr, &lock), STATUS_DELETE_PENDING);
  EXPECT_EQ(lock.Count, 0);
}

// A device is poisoned right after its removal, and its holders look at it as long as they hold.
struct alignas(64) Device {
  RemoveLock lock;
  volatile bool isAlive = true;  // No atomic, as a device's memory is none.
};

void Pause(unsigned loops) {
  for (volatile unsigned left = loops; left > 0;)
    left = left - 1;
}

// Holds each device again and again until it is refused; counts the holds of dead ones.
void HoldAll(std::vector<Device>& devices, unsigned seed, std::atomic<int>& holds,
             std::atomic<int>& holdsOfTheDead) {
  std::minstd_rand random(seed);
  for (Device& device : devices) {
    while (RemoveLockAcquire(nullptr, &device.lock) == STATUS_SUCCESS) {
      bool isDead = false;
      for (auto looks = random() % 256; looks > 0; --looks)
        isDead = isDead || !device.isAlive;
      if (isDead) ++holdsOfTheDead;
      RemoveLockRelease(nullptr, &device.lock);
      ++holds;
      if (random() % 16 == 0) std::this_thread::yield();
      Pause(random() % 64);
    }
  }
}

// The end of a hold is a moment at which a holder runs on another processor: so the removal falls
// among holds that come and go, not into a time in which all holders wait for their turn.
void AwaitHolds(const std::atomic<int>& holds, int count) {
  const int enough = holds + count;
  for (int spins = 1; holds < enough; ++spins) {
    if (spins % 2000 == 0) std::this_thread::yield();
  }
}

TEST(RemoveLock, NobodyHoldsAfterTheWait) {
  constexpr std::size_t kRemovals = 100000;
  constexpr unsigned kHolders = 8;
  std::vector<Device> devices(kRemovals);
  for (Device& device : devices) {
    RemoveLockInit(&device.lock);
    ASSERT_EQ(RemoveLockAcquire(nullptr, &device.lock), STATUS_SUCCESS);
  }
  ASSERT_TRUE(RemovalEnds(devices[0].lock)) << "every removal would wait for ever";
  std::atomic<int> holds = 0;
  std::atomic<int> holdsOfTheDead = 0;
  std::vector<std::thread> holders;
  for (unsigned seed = 1; seed <= kHolders; ++seed) {
    holders.emplace_back(HoldAll, std::ref(devices), seed, std::ref(holds),
                         std::ref(holdsOfTheDead));
  }
  std::minstd_rand random;
  for (std::size_t i = 1; i < kRemovals; ++i) {
    AwaitHolds(holds, 1 + static_cast<int>(random() % 4));
    Pause(random() % 32);
    RemoveLockReleaseAndWait(nullptr, &devices[i].lock);
    devices[i].isAlive = false;
  }
  for (std::thread& holder : holders)
    holder.join();
  for (const Device& device : devices)
    ASSERT_EQ(device.lock.Count, 0);
  EXPECT_EQ(holdsOfTheDead, 0);
}

}  // namespace
