// Pool memory. Each block stands between guard bytes, and a table knows the size, tag and type of
// every block that is out: so a pointer is judged before a byte at it is read, and the report of
// leaks is a walk through the table.
#include "platform/host/pool.h"

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <unordered_map>

#include "platform/host/control/pool_control.h"
#include "platform/host/internal_checks.h"

using zr::host::BugCheck;
using zr::host::PoolUse;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;

namespace {

// As numbers of any width these are large, odd and no address that is mapped.
constexpr unsigned char kFreshByte = 0xB7;
constexpr unsigned char kFreedByte = 0xD7;
constexpr unsigned char kGuardByte = 0xE7;

// On a 32-bit system the front guard leaves the block at an odd multiple of 8, so that code which
// relies on more than the pool promises fails.
constexpr std::size_t kFrontGuard = 6 * sizeof(void*);
constexpr std::size_t kRearGuard = 16;
static_assert(kFrontGuard % (2 * sizeof(void*)) == 0);

struct Block {
  std::size_t byteCount;
  ULONG tag;
  POOL_TYPE type;
};

// The table is split, so that threads that use the pool at once seldom meet.
struct Shard {
  std::mutex mutex;
  std::unordered_map<void*, Block> blocks;
};
std::array<Shard, 64> shards;

Shard& ShardOf(void* block) {
  return shards[(reinterpret_cast<std::uintptr_t>(block) >> 5) % shards.size()];
}

std::atomic<std::size_t> allocationCount{0};
std::atomic<std::size_t> failingAllocation{0};

// A share of 2^31 fails always.
struct RandomFailures {
  std::atomic<uint32_t> share{0};
  std::atomic<uint32_t> seed{0};
  std::atomic<std::size_t> firstAllocation{0};
} randomFailures;

bool IsPaged(POOL_TYPE type) {
  return (type & PagedPool) != 0;
}

bool IsGuard(const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[i] != kGuardByte) return false;
  }
  return true;
}

std::string TagText(ULONG tag) {
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) {
    const auto character = static_cast<unsigned char>(tag >> shift);
    text += character >= 0x20 && character < 0x7f ? static_cast<char>(character) : '?';
  }
  return text;
}

std::string Describe(const void* address, const Block& block) {
  std::array<char, 96> text = {};
  std::snprintf(text.data(), text.size(), "the block of %zu bytes with the tag \"%s\" at %p",
                block.byteCount, TagText(block.tag).c_str(), address);
  return text.data();
}

// One draw for each allocation: the same seed fails the same ones, whatever other threads do.
uint32_t Draw(uint32_t seed, std::size_t number) {
  uint32_t bits = seed ^ (static_cast<uint32_t>(number) * 0x9E3779B9u);
  bits = (bits ^ (bits >> 16)) * 0x85EBCA6Bu;
  bits = (bits ^ (bits >> 13)) * 0xC2B2AE35u;
  return bits ^ (bits >> 16);
}

bool ShallFail() {
  const std::size_t number = ++allocationCount;
  if (number == failingAllocation) return true;
  const uint32_t share = randomFailures.share;
  return share != 0 &&
         Draw(randomFailures.seed, number - randomFailures.firstAllocation) >> 1 < share;
}

void RequirePoolIrql(POOL_TYPE type, const char* routine) {
  RequireIrqlAtMost(IsPaged(type) ? APC_LEVEL : DISPATCH_LEVEL, routine);
}

}  // namespace

extern "C" PVOID ExAllocatePoolWithTag(POOL_TYPE poolType, SIZE_T byteCount, ULONG tag) {
  RequirePoolIrql(poolType, IsPaged(poolType) ? "ExAllocatePoolWithTag for paged pool"
                                              : "ExAllocatePoolWithTag for non-paged pool");
  if (byteCount == 0) {
    StopSystem(BugCheck::kDriverVerifierDetectedViolation,
               "ExAllocatePoolWithTag: a block of 0 bytes, tag \"" + TagText(tag) + "\"");
  }
  if (tag == 0) StopSystem(BugCheck::kBadPoolCaller, "ExAllocatePoolWithTag: a tag of 0");
  // Tests ask for sizes beyond any machine; the sanitizers' malloc ends the process on those.
  constexpr SIZE_T kMost = SIZE_T{1} << 30;
  if (ShallFail() || byteCount > kMost) return nullptr;
  auto* const allocation =
      static_cast<unsigned char*>(std::malloc(kFrontGuard + byteCount + kRearGuard));
  if (allocation == nullptr) return nullptr;
  unsigned char* const block = allocation + kFrontGuard;
  std::memset(allocation, kGuardByte, kFrontGuard);
  std::memset(block, kFreshByte, byteCount);
  std::memset(block + byteCount, kGuardByte, kRearGuard);
  Shard& shard = ShardOf(block);
  const std::lock_guard lock(shard.mutex);
  shard.blocks[block] = {byteCount, tag, poolType};
  return block;
}

extern "C" VOID ExFreePool(PVOID address) {
  auto* const bytes = static_cast<unsigned char*>(address);
  Shard& shard = ShardOf(address);
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.blocks.find(address);
  if (found == shard.blocks.end()) {
    std::array<char, 96> text = {};
    std::snprintf(text.data(), text.size(),
                  "ExFreePool: no block is out at %p; freed twice, or not from the pool", address);
    StopSystem(BugCheck::kBadPoolCaller, text.data());
  }
  const Block& block = found->second;
  RequirePoolIrql(block.type, IsPaged(block.type) ? "ExFreePool of paged pool"
                                                  : "ExFreePool of non-paged pool");
  if (!IsGuard(bytes - kFrontGuard, kFrontGuard)) {
    StopSystem(BugCheck::kBadPoolHeader,
               "ExFreePool: something wrote in front of " + Describe(address, block));
  }
  if (!IsGuard(bytes + block.byteCount, kRearGuard)) {
    StopSystem(BugCheck::kBadPoolHeader,
               "ExFreePool: something wrote behind " + Describe(address, block));
  }
  std::memset(bytes, kFreedByte, block.byteCount);
  // Keeps the fill: nobody may read it, but a driver that does so shall not find its old data.
  asm volatile("" : : "r"(bytes) : "memory");
  std::free(bytes - kFrontGuard);
  shard.blocks.erase(found);
}

namespace zr::host {

namespace {

std::map<ULONG, PoolUse> UseByTag() {
  std::map<ULONG, PoolUse> use;
  for (Shard& shard : shards) {
    const std::lock_guard lock(shard.mutex);
    for (const auto& [address, block] : shard.blocks) {
      PoolUse& ofTag = use[block.tag];
      ++ofTag.blocks;
      ofTag.bytes += block.byteCount;
    }
  }
  return use;
}

}  // namespace

PoolUse PoolInUse() {
  PoolUse total;
  for (const auto& [tag, use] : UseByTag()) {
    total.blocks += use.blocks;
    total.bytes += use.bytes;
  }
  return total;
}

std::string PoolLeakReport() {
  std::string report;
  for (const auto& [tag, use] : UseByTag()) {
    report += TagText(tag) + ": " + std::to_string(use.blocks) + " blocks, " +
              std::to_string(use.bytes) + " bytes\n";
  }
  return report;
}

std::size_t PoolAllocationCount() {
  return allocationCount;
}

FailNthAllocation::FailNthAllocation(std::size_t n)
    : number_(allocationCount + n), outer_(failingAllocation.exchange(number_)) {}

FailNthAllocation::~FailNthAllocation() {
  failingAllocation = outer_;
}

bool FailNthAllocation::HasFailed() const {
  return allocationCount >= number_;
}

FailRandomAllocations::FailRandomAllocations(double share, uint32_t seed) {
  randomFailures.seed = seed;
  randomFailures.firstAllocation = allocationCount.load();
  randomFailures.share = static_cast<uint32_t>(std::lround(share * 0x1p31));
}

FailRandomAllocations::~FailRandomAllocations() {
  randomFailures.share = 0;
}

}  // namespace zr::host
