// One block of memory for a state's record and all its arrays, each on a boundary of 16 bytes: one
// allocation to fail, one to give back. The places are laid out first, then the block is allocated.
#pragma once

#include <cstdint>
#include <limits>

#include "primitives/dispatch/px_entries.h"

namespace zr::primitives {

/// Where in a block an array of elements stands, in bytes from its start.
template <typename Element>
struct BlockPlace {
  int64_t offset;

  [[nodiscard]] Element* In(uint8_t* block) const {
    return reinterpret_cast<Element*>(block + offset);
  }
};

class BlockLayout {
 public:
  /// Room for count elements, behind what has its place already. count may be 0.
  template <typename Element>
  BlockPlace<Element> Add(int64_t count) {
    constexpr int64_t kSize = sizeof(Element);
    const BlockPlace<Element> place = {units_ * kUnit};
    units_ += (count * kSize + kUnit - 1) / kUnit;
    return place;
  }

  /// The block, to be freed with ippsFree, or null. Its contents are undefined.
  [[nodiscard]] uint8_t* Allocate() const {
    // Counted in elements as wide as the alignment: in bytes, 2 GiB would be the end.
    static_assert(sizeof(Complex64f) == kUnit);
    if (units_ > std::numeric_limits<int32_t>::max()) return nullptr;
    return reinterpret_cast<uint8_t*>(px::ippsMalloc_64fc(static_cast<int32_t>(units_)));
  }

 private:
  static constexpr int64_t kUnit = 16;

  int64_t units_ = 0;
};

}  // namespace zr::primitives
