// Allocation, copies and fills, px build.
#include "primitives/memory.h"

#include <cstring>
#include <limits>

#include "primitives/argument_checks.h"
#include "primitives/raw_memory.h"

using namespace zr::primitives;

namespace {

constexpr std::uintptr_t kAlignment = 32;

// The raw block's address stands right below the aligned start, so that the free can find it.
void* AllocateAligned(int32_t length, std::size_t elementSize) {
  if (length < 1) return nullptr;
  constexpr uint64_t kOverhead = kAlignment + sizeof(void*);
  const uint64_t byteCount = static_cast<uint64_t>(length) * elementSize + kOverhead;
  if (byteCount > static_cast<uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) return nullptr;

  void* const raw = AllocateRawMemory(static_cast<std::size_t>(byteCount));
  if (raw == nullptr) return nullptr;
  const auto rawAddress = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t offset = ((rawAddress + kOverhead - 1) & ~(kAlignment - 1)) - rawAddress;
  auto* const start = static_cast<unsigned char*>(raw) + offset;
  std::memcpy(start - sizeof(raw), &raw, sizeof(raw));
  return start;
}

template <typename T>
int32_t Copy(const T* s, T* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  std::memcpy(d, s, static_cast<std::size_t>(n) * sizeof(T));
  return kStatusOk;
}

}  // namespace

uint8_t* ippsMalloc_8u(int32_t length) {
  return static_cast<uint8_t*>(AllocateAligned(length, sizeof(uint8_t)));
}

int16_t* ippsMalloc_16s(int32_t length) {
  return static_cast<int16_t*>(AllocateAligned(length, sizeof(int16_t)));
}

float* ippsMalloc_32f(int32_t length) {
  return static_cast<float*>(AllocateAligned(length, sizeof(float)));
}

void ippsFree(void* pointer) {
  if (pointer == nullptr) return;
  void* raw = nullptr;
  std::memcpy(&raw, static_cast<unsigned char*>(pointer) - sizeof(raw), sizeof(raw));
  FreeRawMemory(raw);
}

int32_t ippsCopy_16s(const int16_t* s, int16_t* d, int32_t n) {
  return Copy(s, d, n);
}

int32_t ippsCopy_32f(const float* s, float* d, int32_t n) {
  return Copy(s, d, n);
}

int32_t ippsMove_16s(const int16_t* s, int16_t* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  const auto distance = static_cast<std::intptr_t>(reinterpret_cast<std::uintptr_t>(s) -
                                                   reinterpret_cast<std::uintptr_t>(d));
  if (distance >> 1 == 0) return kStatusOk;
  std::memmove(d, s, static_cast<std::size_t>(n) * sizeof(int16_t));
  return kStatusOk;
}

int32_t ippsZero_32f(float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, d)) return status;
  std::memset(d, 0, static_cast<std::size_t>(n) * sizeof(float));
  return kStatusOk;
}
