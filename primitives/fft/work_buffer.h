// The work memory of one call: the caller's, aligned, or an allocated one.
#pragma once

#include <cstdint>

#include "primitives/fft/table_memory.h"

namespace zr::primitives::px {

class WorkBuffer {
 public:
  /// byteCount 0: there is none, and given is not looked at.
  WorkBuffer(int32_t byteCount, uint8_t* given) : isNeeded_(byteCount > 0) {
    if (!isNeeded_) return;
    if (given == nullptr) {
      allocated_ = ippsMalloc_8u(byteCount);
      start_ = allocated_;
    } else {
      start_ = given + (-reinterpret_cast<std::uintptr_t>(given) & (kAlignment - 1));
    }
  }
  ~WorkBuffer() { ippsFree(allocated_); }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  [[nodiscard]] bool IsMissing() const { return isNeeded_ && start_ == nullptr; }

  template <typename Element>
  [[nodiscard]] Element* As() const {
    return reinterpret_cast<Element*>(start_);
  }

 private:
  static constexpr std::uintptr_t kAlignment = 16;

  bool isNeeded_;
  uint8_t* allocated_ = nullptr;
  uint8_t* start_ = nullptr;
};

}  // namespace zr::primitives::px
