// Memory for tables, counted in 64 bits.
#pragma once

#include <cstdint>
#include <limits>

#include "primitives/dispatch/px_entries.h"

namespace zr::primitives::px {

/// count elements on a 32-byte boundary, to be freed with ippsFree; null if there is no memory or
/// the bytes are 2^31 or more, which the allocators cannot be asked for.
template <typename Element>
inline Element* AllocateTable(int64_t count) {
  const int64_t byteCount = count * static_cast<int64_t>(sizeof(Element));
  if (byteCount > std::numeric_limits<int32_t>::max()) return nullptr;
  return reinterpret_cast<Element*>(ippsMalloc_8u(static_cast<int32_t>(byteCount)));
}

/// A table that is only needed while others are made.
template <typename Element>
class TemporaryTable {
 public:
  explicit TemporaryTable(Element* table) : table_(table) {}
  ~TemporaryTable() { ippsFree(table_); }
  TemporaryTable(const TemporaryTable&) = delete;
  TemporaryTable& operator=(const TemporaryTable&) = delete;

  [[nodiscard]] Element* Get() const { return table_; }

 private:
  Element* table_;
};

}  // namespace zr::primitives::px
