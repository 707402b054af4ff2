// Size classes, statistics, failures and many threads.
#include "support/tracked_allocator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "tests/support/support_fixture.h"

using namespace zr::test;

namespace {

struct Report {
  ULONG id;
  LONGLONG value;
  bool operator==(const Report&) const = default;
};
std::vector<Report> reports;
std::atomic<LONGLONG> nonPagedSum;

LONGLONG Joined(ULONG low, ULONG high) {
  return static_cast<LONGLONG>(ULONGLONG{high} << 32 | low);
}
void KeepReport(ULONG id, ULONG low, ULONG high) {
  reports.push_back({id, Joined(low, high)});
}
void SumReport(ULONG id, ULONG low, ULONG high) {
  if (id == kStatNonPagedBytes) nonPagedSum += Joined(low, high);
}

class TrackedAllocator : public SupportFixture {
 protected:
  TrackedAllocator() {
    reports.clear();
    nonPagedSum = 0;
  }
};

const PoolBlockHeader& HeaderOf(PVOID block) {
  return static_cast<PoolBlockHeader*>(block)[-1];
}

TEST_F(TrackedAllocator, SizesFallIntoClassesOf32Bytes) {
  constexpr SIZE_T kOverhead = sizeof(PoolBlockHeader) + 1;
  PVOID previousList = nullptr;
  for (SIZE_T size = 0; size < 400; ++size) {
    PVOID const block = PoolAllocTracked(NonPagedPool, size);
    ASSERT_NE(block, nullptr);
    std::memset(block, 1, size);
    PVOID const list = HeaderOf(block).Lookaside;
    EXPECT_EQ(HeaderOf(block).Size, size);
    EXPECT_EQ(list == nullptr, size + kOverhead >= 320) << size;
    const bool isFirstOfClass = (size + kOverhead) % 32 == 0;
    const bool isComparable = size > 0 && list != nullptr;
    EXPECT_TRUE(!isComparable || (list != previousList) == isFirstOfClass) << size;
    previousList = list;
    PoolFreeTracked(block);
  }
  if constexpr (sizeof(void*) == 4) {
    PVOID const last = PoolAllocTracked(NonPagedPool, 298);
    PVOID const beyond = PoolAllocTracked(NonPagedPool, 299);
    EXPECT_NE(HeaderOf(last).Lookaside, nullptr);
    EXPECT_EQ(HeaderOf(beyond).Lookaside, nullptr);
    PoolFreeTracked(last);
    PoolFreeTracked(beyond);
  }
}

TEST_F(TrackedAllocator, ChangesAreReportedAndTakenBack) {
  PerfHooks.PerfCounterAdd.Set(&KeepReport);
  PerfHooks.PerfCounterSet.Set(&KeepReport);
  PVOID const nonPaged = PoolAllocTracked(NonPagedPool, 100);
  PVOID const paged = PoolAllocTracked(PagedPool, 40);
  PVOID const other = PoolAllocTracked(5, 60);
  EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 100U);
  EXPECT_EQ(PoolTrackedBytes(PagedPool), 100U);
  EXPECT_EQ(HeaderOf(other).Lookaside, nullptr) << "only the two plain types have lists";
  PoolFreeTracked(nonPaged);
  PoolFreeTracked(paged);
  PoolFreeTracked(other);
  EXPECT_EQ(reports, (std::vector<Report>{
                         {5, 100}, {6, 100}, {4, 40}, {4, 60}, {5, -100}, {4, -40}, {4, -60}}));
  EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 0U);
  EXPECT_EQ(PoolTrackedBytes(PagedPool), 0U);
}

TEST_F(TrackedAllocator, EveryBlockCarriesTheTag) {
  std::vector<PVOID> blocks;
  for (const POOL_TYPE type : {NonPagedPool, PagedPool}) {
    for (const SIZE_T size : {10, 100, 1000})
      blocks.push_back(PoolAllocTracked(type, size));
  }
  const std::string report = zr::host::PoolLeakReport();
  EXPECT_TRUE(report.starts_with("ZCam: 6 blocks, ")) << report;
  for (PVOID block : blocks)
    PoolFreeTracked(block);
}

// The look of another thread at the lists, from inside a hook.
std::vector<std::future<void>> looks;

void LookAtTheLists(ULONG /*id*/, ULONG /*low*/, ULONG /*high*/) {
  EXPECT_EQ(KeGetCurrentIrql(), PASSIVE_LEVEL);
  looks.push_back(std::async(std::launch::async, [] {
    PoolTrackedBytes(NonPagedPool);
    PoolTrackedBytes(PagedPool);
  }));
  EXPECT_EQ(looks.back().wait_for(std::chrono::seconds(10)), std::future_status::ready)
      << "a hook was called with a list locked";
}

TEST_F(TrackedAllocator, HooksRunOutsideTheLocks) {
  looks.clear();
  PerfHooks.PerfCounterAdd.Set(&LookAtTheLists);
  PerfHooks.PerfCounterSet.Set(&LookAtTheLists);
  PoolFreeTracked(PoolAllocTracked(NonPagedPool, 10));
  PoolFreeTracked(PoolAllocTracked(PagedPool, 20));
  EXPECT_EQ(looks.size(), 6U);
}

TEST_F(TrackedAllocator, AFailedRequestCountsAsTheLargestOnly) {
  PerfHooks.PerfCounterAdd.Set(&KeepReport);
  PerfHooks.PerfCounterSet.Set(&KeepReport);
  for (const SIZE_T size : {SIZE_T{50}, SIZE_T{5000}}) {
    const zr::host::FailNthAllocation failure(1);
    EXPECT_EQ(PoolAllocTracked(NonPagedPool, size), nullptr);
  }
  EXPECT_EQ(PoolAllocTracked(NonPagedPool, static_cast<ULONG>(-1)), nullptr)
      << "the header must not wrap the size around";
  if constexpr (sizeof(SIZE_T) > 4) {
    EXPECT_EQ(PoolAllocTracked(NonPagedPool, static_cast<SIZE_T>(0x100000001ULL)), nullptr);
  }
  EXPECT_EQ(reports, (std::vector<Report>{{6, 50}, {6, 5000}, {6, 0xffffffffLL}}));
}

TEST_F(TrackedAllocator, NonPagedWorksAtDispatchLevelPagedDoesNot) {
  const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
  PVOID const block = PoolAllocTracked(NonPagedPool, 100);
  EXPECT_NE(block, nullptr);
  PoolFreeTracked(block);
  EXPECT_NE(BugCheckOf([] { PoolAllocTracked(PagedPool, 100); }), 0U);
}

TEST_F(TrackedAllocator, EightThreadsComeBackToZero) {
  constexpr int kThreads = 8;
  constexpr int kOperations = 125000;
  PerfHooks.PerfCounterAdd.Set(&SumReport);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      std::mt19937 random(static_cast<uint32_t>(t));
      std::vector<PVOID> blocks(16, nullptr);
      for (int i = 0; i < kOperations; ++i) {
        PVOID& block = blocks[random() % blocks.size()];
        if (block != nullptr) {
          PoolFreeTracked(block);
          block = nullptr;
        } else {
          const SIZE_T size = random() % 400;
          block = PoolAllocTracked(random() % 16 == 0 ? PagedPool : NonPagedPool, size);
          if (block != nullptr) std::memset(block, t, size);
        }
      }
      for (PVOID block : blocks) {
        if (block != nullptr) PoolFreeTracked(block);
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 0U);
  EXPECT_EQ(PoolTrackedBytes(PagedPool), 0U);
  EXPECT_EQ(nonPagedSum.load(), 0);
}

TEST_F(TrackedAllocator, EachFailureInTurnLeavesTheListsWhole) {
  for (std::size_t failing = 1; failing <= 6; ++failing) {
    std::vector<PVOID> blocks;
    {
      const zr::host::FailNthAllocation failure(failing);
      // From the pool each, so that every one of them can fail.
      for (SIZE_T size = 1000; size < 1006; ++size) {
        blocks.push_back(PoolAllocTracked(NonPagedPool, size));
      }
      EXPECT_TRUE(failure.HasFailed());
    }
    ULONG expected = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      EXPECT_EQ(blocks[i] == nullptr, i + 1 == failing);
      if (blocks[i] != nullptr) expected += static_cast<ULONG>(1000 + i);
    }
    EXPECT_EQ(PoolTrackedBytes(NonPagedPool), expected);
    for (PVOID block : blocks) {
      if (block != nullptr) PoolFreeTracked(block);
    }
    EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 0U);
  }
}

}  // namespace
