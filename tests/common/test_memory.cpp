// Each block stands between guard bytes that are checked when it comes back, at a changing distance
// from alignment: the allocators must align it themselves, and the slack that they leave behind a
// buffer shrinks to a byte.
#include "tests/common/test_memory.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "primitives/raw_memory.h"

namespace {

constexpr std::size_t kGuard = 64;
// As a float this is near the top of the range, so that nobody takes it for a zero.
constexpr unsigned char kGarbage = 0x7f;

// Stands in the guard in front of every block.
struct Header {
  std::size_t byteCount;
  unsigned char* allocation;
};

std::atomic<std::size_t> allocationCount{0};
std::atomic<std::size_t> liveBlockCount{0};
std::atomic<std::size_t> failingAllocation{0};

bool IsGarbage(const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[i] != kGarbage) return false;
  }
  return true;
}

}  // namespace

namespace zr::primitives {

void* AllocateRawMemory(std::size_t byteCount) noexcept {
  const std::size_t number = ++allocationCount;
  // Tests ask for sizes beyond any machine; the sanitizers' malloc ends the process on those.
  constexpr std::size_t kMost = std::size_t{1} << 30;
  if (number == failingAllocation || byteCount > kMost) return nullptr;
  const std::size_t allocated = byteCount + 3 * kGuard;
  auto* const allocation = static_cast<unsigned char*>(std::malloc(allocated));
  if (allocation == nullptr) return nullptr;
  std::memset(allocation, kGarbage, allocated);
  const auto misalignment = kGuard - reinterpret_cast<std::uintptr_t>(allocation) % kGuard;
  unsigned char* const block = allocation + kGuard + misalignment % kGuard + 25 + number % 8;
  const Header header = {byteCount, allocation};
  std::memcpy(block - kGuard, &header, sizeof(header));
  ++liveBlockCount;
  return block;
}

void FreeRawMemory(void* block) noexcept {
  auto* const bytes = static_cast<unsigned char*>(block);
  Header header = {};
  std::memcpy(&header, bytes - kGuard, sizeof(header));
  constexpr std::size_t kFront = kGuard - sizeof(Header);
  constexpr std::size_t kBehind = 16;
  if (!IsGarbage(bytes - kFront, kFront) || !IsGarbage(bytes + header.byteCount, kBehind)) {
    std::fprintf(stderr, "a block of %zu bytes was overrun\n", header.byteCount);
    std::abort();
  }
  --liveBlockCount;
  std::free(header.allocation);
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
