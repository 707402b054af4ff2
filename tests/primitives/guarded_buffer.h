// Memory with guard zones around it, at any misalignment: what writes beside a vector is noticed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zr::test {

class GuardedBuffer {
 public:
  GuardedBuffer() = default;
  /// size bytes, `misalignment` bytes behind a multiple of 64.
  GuardedBuffer(std::size_t size, std::size_t misalignment)
      : size_(size), storage_(size + misalignment + 3 * kZone, kGuard) {
    const auto address = reinterpret_cast<std::uintptr_t>(storage_.data()) + kZone;
    start_ = kZone + (kZone - address % kZone) % kZone + misalignment;
    std::fill_n(Data(), size_, kUnwritten);
  }

  uint8_t* Data() { return storage_.data() + start_; }
  std::size_t Size() const { return size_; }
  std::vector<uint8_t> Content() { return {Data(), Data() + size_}; }

  bool IsGuardIntact() const {
    const auto isGuard = [](uint8_t byte) { return byte == kGuard; };
    const auto begin = storage_.begin();
    const auto start = begin + static_cast<std::ptrdiff_t>(start_);
    return std::all_of(begin, start, isGuard) &&
           std::all_of(start + static_cast<std::ptrdiff_t>(size_), storage_.end(), isGuard);
  }

 private:
  static constexpr std::size_t kZone = 64;
  static constexpr uint8_t kGuard = 0xb7;
  static constexpr uint8_t kUnwritten = 0xa5;

  std::size_t size_ = 0;
  std::size_t start_ = 0;
  std::vector<uint8_t> storage_;
};

/// A copy of the elements, misaligned.
template <typename Element>
GuardedBuffer Misplaced(const std::vector<Element>& elements, std::size_t misalignment) {
  GuardedBuffer buffer(elements.size() * sizeof(Element), misalignment);
  if (!elements.empty()) std::memcpy(buffer.Data(), elements.data(), buffer.Size());
  return buffer;
}

}  // namespace zr::test
