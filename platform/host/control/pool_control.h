// Leaks, overruns and failing allocations of the host's pool: for tests and tools.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zr::host {

struct PoolUse {
  std::size_t blocks = 0;
  std::size_t bytes = 0;
};

/// What is out of the pool now, over all tags. Blocks that rest in a lookaside list count as out.
PoolUse PoolInUse();

/// One line for each tag that has blocks out: tag, blocks, bytes. Empty when nothing is out.
std::string PoolLeakReport();

/// Allocations tried since the start of the program.
std::size_t PoolAllocationCount();

/// While it lives, the n-th pool allocation from now fails, counting from 1; a lookaside list that
/// has to go to the pool counts, one that serves from its cache does not. An inner one sets an
/// outer one aside.
class FailNthAllocation {
 public:
  explicit FailNthAllocation(std::size_t n);
  ~FailNthAllocation();
  FailNthAllocation(const FailNthAllocation&) = delete;
  FailNthAllocation& operator=(const FailNthAllocation&) = delete;
  /// Whether the allocation came and failed.
  bool HasFailed() const;

 private:
  std::size_t number_;
  std::size_t outer_;
};

/// While it lives, a seeded random share, 0 to 1, of all allocations fails. One at a time.
class FailRandomAllocations {
 public:
  FailRandomAllocations(double share, uint32_t seed);
  ~FailRandomAllocations();
  FailRandomAllocations(const FailRandomAllocations&) = delete;
  FailRandomAllocations& operator=(const FailRandomAllocations&) = delete;
};

}  // namespace zr::host
