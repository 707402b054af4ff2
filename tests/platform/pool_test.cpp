// The pool and the lookaside lists of the host kernel: blocks, guard bytes, leaks, failures on
// demand, and that each misuse stops the system.
#include <cstring>
#include <set>
#include <string>

#include "platform/host/control/execution_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/pool.h"
#include "tests/platform/bug_checks.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;
using testing::HasSubstr;

namespace {

constexpr ULONG kTag = 0x74736554;  // "Test"

unsigned char* Allocate(SIZE_T byteCount, ULONG tag = kTag, POOL_TYPE type = NonPagedPool) {
  return static_cast<unsigned char*>(ExAllocatePoolWithTag(type, byteCount, tag));
}

// Every test gives back all that it took.
class Pool : public testing::Test {
 protected:
  ~Pool() override { EXPECT_EQ(PoolLeakReport(), ""); }
};
using Lookaside = Pool;

TEST_F(Pool, BlocksAreAlignedApartAndFullOfGarbage) {
  std::vector<unsigned char*> blocks;
  for (SIZE_T size = 1; size < 200; ++size) {
    unsigned char* const block = blocks.emplace_back(Allocate(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (2 * sizeof(PVOID)), 0u);
    EXPECT_EQ(std::count(block, block + size, 0), 0) << size;
    std::memset(block, static_cast<int>(size), size);
  }
  for (unsigned char* const block : blocks) {
    const SIZE_T size = *block;
    EXPECT_EQ(std::string(block, block + size), std::string(size, static_cast<char>(size)));
    ExFreePool(block);
  }
}

TEST_F(Pool, GuardBytesFindEveryByteWrittenBesideABlock) {
  constexpr SIZE_T kSize = 21;
  unsigned char* const block = Allocate(kSize);
  const std::pair<std::ptrdiff_t, const char*> writes[] = {
      {-1, "in front of the block of 21 bytes with the tag \"Test\""},
      {-16, "in front of"},
      {kSize, "behind the block of 21 bytes"},
      {kSize + 15, "behind"}};
  for (const auto& [offset, text] : writes) {
    block[offset] ^= 1;
    ExpectBugChecks({{"a write beside", kBadPoolHeader, text, [&] { ExFreePool(block); }}});
    block[offset] ^= 1;
  }
  ExFreePool(block);
}

TEST_F(Pool, MisusesStopTheSystem) {
  unsigned char* const block = Allocate(8);
  unsigned char* const paged = Allocate(8, kTag, PagedPool);
  ExpectBugChecks({
      {"freeing inside", kBadPoolCaller, "no block is out", [&] { ExFreePool(block + 1); }},
      {"freeing null", kBadPoolCaller, "no block is out", [] { ExFreePool(nullptr); }},
      {"freeing paged pool", kIrqlNotLessOrEqual, "ExFreePool of paged pool",
       [&] { ExFreePool(paged); }, DISPATCH_LEVEL},
      {"taking paged pool", kIrqlNotLessOrEqual, "ExAllocatePoolWithTag for paged pool",
       [] { Allocate(8, kTag, PagedPool); }, DISPATCH_LEVEL},
      {"taking any", kIrqlNotLessOrEqual, "for non-paged pool", [] { Allocate(8); }, HIGH_LEVEL},
      {"0 bytes", kViolation, "0 bytes, tag \"Test\"", [] { Allocate(0); }},
      {"no tag", kBadPoolCaller, "a tag of 0", [] { Allocate(8, 0); }},
  });
  ExFreePool(paged);
  const AtIrql atDispatch(DISPATCH_LEVEL);
  ExFreePool(block);
  ExpectBugChecks({{"twice", kBadPoolCaller, "freed twice", [&] { ExFreePool(block); }}});
}

TEST_F(Pool, LeaksAreReportedByTag) {
  constexpr ULONG kOther = 0x6874014F;  // "O", a control character, "th"
  unsigned char* const blocks[] = {Allocate(10), Allocate(20), Allocate(5, kOther)};
  EXPECT_EQ(PoolInUse().blocks, 3u);
  EXPECT_EQ(PoolInUse().bytes, 35u);
  EXPECT_THAT(PoolLeakReport(), HasSubstr("Test: 2 blocks, 30 bytes\n"));
  EXPECT_THAT(PoolLeakReport(), HasSubstr("O?th: 1 blocks, 5 bytes\n"));
  for (unsigned char* const block : blocks)
    ExFreePool(block);
}

// Which of the next allocations fail.
std::vector<bool> Failures(int count) {
  std::vector<bool> failures;
  for (int i = 0; i < count; ++i) {
    unsigned char* const block = Allocate(8);
    failures.push_back(block == nullptr);
    if (block != nullptr) ExFreePool(block);
  }
  return failures;
}

TEST_F(Pool, TheNthAllocationFails) {
  const std::size_t before = PoolAllocationCount();
  {
    const FailNthAllocation third(3);
    EXPECT_EQ(Failures(2), std::vector<bool>(2, false));
    EXPECT_FALSE(third.HasFailed());
    EXPECT_EQ(Failures(2), (std::vector<bool>{true, false}));
    EXPECT_TRUE(third.HasFailed());
  }
  { const FailNthAllocation neverReached(1); }
  EXPECT_EQ(Failures(1), std::vector<bool>{false});
  EXPECT_EQ(PoolAllocationCount(), before + 5) << "failed ones count as tried";
  EXPECT_EQ(Allocate(SIZE_T{3} << 30), nullptr) << "more than there is";
}

TEST_F(Pool, ASeededShareOfAllocationsFails) {
  const auto failures = [](double share, uint32_t seed) {
    const FailRandomAllocations failing(share, seed);
    return Failures(4000);
  };
  const std::vector<bool> first = failures(0.25, 1);
  // A standard deviation is 27.
  EXPECT_NEAR(static_cast<double>(std::count(first.begin(), first.end(), true)), 1000, 150);
  EXPECT_EQ(failures(0.25, 1), first);
  EXPECT_NE(failures(0.25, 2), first);
  EXPECT_EQ(failures(1, 3), std::vector<bool>(4000, true));
  EXPECT_EQ(failures(0, 3), std::vector<bool>(4000, false));
}

// A list of the given depth and what it took from the pool so far.
class List {
 public:
  explicit List(USHORT depth, SIZE_T size = 40) {
    ExInitializeNPagedLookasideList(&list, nullptr, nullptr, 0, size, kTag, depth);
  }
  ~List() { ExDeleteNPagedLookasideList(&list); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  unsigned char* Take() {
    return static_cast<unsigned char*>(ExAllocateFromNPagedLookasideList(&list));
  }
  void Give(PVOID block) { ExFreeToNPagedLookasideList(&list, block); }

  NPAGED_LOOKASIDE_LIST list;
};

TEST_F(Lookaside, ItKeepsAsManyBlocksAsItIsDeep) {
  for (const auto& [depth, kept] : {std::pair<USHORT, std::size_t>{1, 1}, {3, 3}, {0, 16}}) {
    List list(depth);
    std::set<unsigned char*> blocks;
    for (int i = 0; i < 20; ++i)
      blocks.insert(list.Take());
    EXPECT_EQ(blocks.size(), 20u);
    EXPECT_EQ(PoolInUse().blocks, 20u);
    for (unsigned char* const block : blocks)
      list.Give(block);
    EXPECT_EQ(PoolInUse().blocks, kept);
    // What is kept is given out without the pool, and a failing pool shows only behind it.
    const FailNthAllocation next(1);
    std::vector<unsigned char*> again;
    for (std::size_t i = 0; i < kept; ++i) {
      again.push_back(list.Take());
      EXPECT_EQ(blocks.count(again.back()), 1u);
    }
    EXPECT_FALSE(next.HasFailed());
    EXPECT_EQ(list.Take(), nullptr);
    for (unsigned char* const block : again)
      list.Give(block);
  }
}

TEST_F(Lookaside, ItUsesTheRoutinesOfItsOwner) {
  // The routines carry no context.
  static int allocated;
  static int freed;
  allocated = freed = 0;
  const auto allocate = [](POOL_TYPE type, SIZE_T size, ULONG tag) -> PVOID {
    EXPECT_EQ(type, PagedPool);
    EXPECT_EQ(size, 64u);
    ++allocated;
    return ExAllocatePoolWithTag(type, size, tag);
  };
  const auto free = [](PVOID block) {
    ++freed;
    ExFreePool(block);
  };
  PAGED_LOOKASIDE_LIST list;
  ExInitializePagedLookasideList(&list, allocate, free, 0, 64, kTag, 1);
  void* const first = ExAllocateFromPagedLookasideList(&list);
  ExFreeToPagedLookasideList(&list, ExAllocateFromPagedLookasideList(&list));
  ExFreeToPagedLookasideList(&list, first);
  EXPECT_EQ(allocated, 2);
  EXPECT_EQ(freed, 1);
  ExDeletePagedLookasideList(&list);
  EXPECT_EQ(freed, 2);
}

TEST_F(Lookaside, MisusesStopTheSystem) {
  NPAGED_LOOKASIDE_LIST raw = {};
  PAGED_LOOKASIDE_LIST paged;
  ExInitializePagedLookasideList(&paged, nullptr, nullptr, 0, 32, kTag, 0);
  ExpectBugChecks({
      {"never initialised", kViolation, "not initialised",
       [&] { ExAllocateFromNPagedLookasideList(&raw); }},
      {"paged", kIrqlNotLessOrEqual, "ExAllocateFromPagedLookasideList",
       [&] { ExAllocateFromPagedLookasideList(&paged); }, DISPATCH_LEVEL},
  });
  ExDeletePagedLookasideList(&paged);
  void* const stray = Allocate(32);
  ExpectBugChecks({
      {"freeing to a deleted list", kViolation, "deleted already",
       [&] { ExFreeToPagedLookasideList(&paged, stray); }},
      {"deleting twice", kViolation, "deleted already",
       [&] { ExDeletePagedLookasideList(&paged); }},
  });
  ExFreePool(stray);
  for (const USHORT depth : {USHORT{1}, USHORT{4}}) {
    // With a depth of 1 the blocks rest where all threads share them, else with this thread.
    List list(depth);
    unsigned char* const block = list.Take();
    list.Give(block);
    ExpectBugChecks(
        {{"twice", kBadPoolCaller, "freed to the list twice", [&] { list.Give(block); }}});
    block[sizeof(PVOID)] ^= 1;
    ExpectBugChecks({{"a write", kBadPoolCaller, "written to after", [&] { list.Take(); }}});
    block[sizeof(PVOID)] ^= 1;
  }
}

TEST_F(Lookaside, ABlockMayStillCarryWhatTheListWroteIntoIt) {
  List list(4);
  unsigned char* const block = list.Take();
  list.Give(block);
  const std::string image(block, block + 40);
  EXPECT_EQ(list.Take(), block);
  image.copy(reinterpret_cast<char*>(block), 40);
  list.Give(block);
}

TEST_F(Lookaside, ManyThreadsShareAList) {
  // Threads hand blocks on to others that only free; more threads than have stacks of their own,
  // and threads that come after others have ended.
  List list(0);
  for (int generation = 0; generation < 2; ++generation) {
    OnThreads(20, [&](int pair) {
      std::vector<unsigned char*> handed;
      for (int i = 0; i < 200; ++i) {
        list.Give(list.Take());
        handed.push_back(list.Take());
        std::memset(handed.back(), pair, 40);
      }
      OnAnotherThread([&] {
        for (unsigned char* const block : handed) {
          EXPECT_EQ(std::string(block, block + 40), std::string(40, static_cast<char>(pair)));
          list.Give(block);
        }
      });
    });
  }
  // Each of the 32 stacks and the common one may keep half of the depth.
  EXPECT_LE(PoolInUse().blocks, 33u * 8);
}

}  // namespace
