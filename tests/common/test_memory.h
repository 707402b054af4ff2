// Raw memory for tests in place of the standard one: it counts, it can fail, it notices what is
// written beside a block, and it fills every block with garbage, so that nobody lives on memory
// that happens to be zero.
#pragma once

#include <cstddef>

namespace zr::test {

/// Allocations since the start of the program, failed ones included.
std::size_t AllocationCount();

/// Blocks that are out and not yet given back.
std::size_t LiveBlockCount();

/// While it lives, the n-th allocation from now fails, n counting from 1; the others go through.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t n);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace zr::test
