// Size classes, statistics, failures and many threads.
#include "support/tracked_allocator.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <random>
#include <string>
#include <vector>

#include "platform/host/control/execution_control.h"
#include "tests/platform/bug_checks.h"
#include "tests/support/support_fixture.h"

using namespace zr::test;

namespace {

using Report = std::pair<ULONG, LONGLONG>;
std::vector<Report> reports;
std::atomic<LONGLONG> nonPagedSum;

LONGLONG Joined(ULONG low, ULONG high) {
  return static_cast<LONGLONG>(ULONGLONG{high} << 32 | low);
}
void KeepReport(ULONG id, ULONG low, ULONG high) {
  reports.emplace_back(id, Joined(low, high));
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
    EXPECT_TRUE(sizeof(void*) != 4 || (list == nullptr) == (size > 298)) << size;
    const bool isFirstOfClass = (size + kOverhead) % 32 == 0;
    const bool isComparable = size > 0 && list != nullptr;
    EXPECT_TRUE(!isComparable || (list != previousList) == isFirstOfClass) << size;
    previousList = list;
    PoolFreeTracked(block);
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
  EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 0U);
}

TEST_F(TrackedAllocator, NonPagedWorksAtDispatchLevelPagedDoesNot) {
  const zr::host::AtIrql dispatch(DISPATCH_LEVEL);
  PVOID const block = PoolAllocTracked(NonPagedPool, 100);
  EXPECT_NE(block, nullptr);
  PoolFreeTracked(block);
  EXPECT_NE(BugCheckOf([] { PoolAllocTracked(PagedPool, 100); }), 0U);
}

TEST_F(TrackedAllocator, EightThreadsComeBackToZero) {
  constexpr int kOperations = 125000;
  PerfHooks.PerfCounterAdd.Set(&SumReport);
  OnThreads(8, [](int thread) {
    std::mt19937 random(static_cast<uint32_t>(thread));
    std::vector<PVOID> blocks(16, nullptr);
    for (int i = 0; i < kOperations; ++i) {
      PVOID& block = blocks[random() % blocks.size()];
      if (block != nullptr) {
        PoolFreeTracked(block);
        block = nullptr;
      } else {
        const SIZE_T size = random() % 400;
        block = PoolAllocTracked(random() % 16 == 0 ? PagedPool : NonPagedPool, size);
        std::memset(block, thread, size);
      }
    }
    for (PVOID block : blocks) {
      if (block != nullptr) PoolFreeTracked(block);
    }
  });
  EXPECT_EQ(PoolTrackedBytes(NonPagedPool), 0U);
  EXPECT_EQ(PoolTrackedBytes(PagedPool), 0U);
  EXPECT_EQ(nonPagedSum.load(), 0);
}

}  // namespace
