#include "tests/support/test_memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "primitives/raw_memory.h"

namespace {

std::atomic<std::size_t> allocationCount{0};
std::atomic<std::size_t> liveBlockCount{0};
std::atomic<std::size_t> failingAllocation{0};

}  // namespace

namespace zr::primitives {

void* AllocateRawMemory(std::size_t byteCount) noexcept {
  const std::size_t number = ++allocationCount;
  // Tests ask for sizes beyond any machine; the sanitizers' malloc ends the process on those.
  constexpr std::size_t kMost = std::size_t{1} << 30;
  if (number == failingAllocation || byteCount > kMost) return nullptr;
  void* const block = std::malloc(byteCount);
  if (block == nullptr) return nullptr;
  constexpr int kGarbage = 0xa5;
  std::memset(block, kGarbage, byteCount);
  ++liveBlockCount;
  return block;
}

void FreeRawMemory(void* block) noexcept {
  --liveBlockCount;
  std::free(block);
}

}  // namespace zr::primitives

namespace zr::test {

std::size_t AllocationCount() {
  return allocationCount;
}

std::size_t LiveBlockCount() {
  return liveBlockCount;
}

FailingAllocation::FailingAllocation(std::size_t n) {
  failingAllocation = allocationCount + n;
}

FailingAllocation::~FailingAllocation() {
  failingAllocation = 0;
}

}  // namespace zr::test
