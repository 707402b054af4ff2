// Streams of any length in blocks that fit a work array.
#pragma once

#include <algorithm>
#include <cstdint>

namespace zr::primitives {

/// body(first, count) for each block of [0, n), from the start on: blocks of blockLength elements,
/// and the rest, from 1 to blockLength of them, in the last.
template <typename Body>
inline void ForEachBlock(int32_t n, int32_t blockLength, Body body) {
  for (int32_t first = 0; first < n;) {
    const int32_t count = std::min(n - first, blockLength);
    body(first, count);
    first += count;
  }
}

}  // namespace zr::primitives
