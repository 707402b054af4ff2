// Drives the filter through any order of parameter writes and blocks. The sanitizers judge, and the
// output must not tell how the stream was cut.
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "popfilter/pops.h"
#include "tests/common/fuzz_input.h"

namespace {

bool IsLength(uint32_t id) {
  return id == POPS_ID_ORDER || id == POPS_ID_SETTLE || id == POPS_ID_DELAY;
}

// Lengths at which an input still runs in no time, or which no memory serves.
uint32_t BoundedLength(uint32_t value) {
  constexpr uint32_t kHopeless = 0xfffff000;
  return value >= kHopeless ? value : value % 64;
}

// The same writes and samples, once in the blocks that the input tells and once sample by sample.
class TwoCuts {
 public:
  TwoCuts() {
    if (POPSCreate(&blocks_) != POPS_OK || POPSCreate(&singles_) != POPS_OK) std::abort();
  }
  ~TwoCuts() {
    POPSDestroy(blocks_);
    POPSDestroy(singles_);
  }
  TwoCuts(const TwoCuts&) = delete;
  TwoCuts& operator=(const TwoCuts&) = delete;

  void Write(uint32_t id, uint32_t value) {
    const uint32_t bounded = IsLength(id) ? BoundedLength(value) : value;
    // A settling that is raised in a refill lets the cuts show.
    if (id == POPS_ID_SETTLE) isCutFree_ = false;
    const int32_t status = POPSSetParameterBlock(blocks_, id, &bounded, sizeof(bounded));
    if (status != POPSSetParameter(singles_, id, bounded)) std::abort();
  }

  void Process(std::vector<int16_t> samples) {
    std::vector<int16_t> single = samples;
    for (int16_t& sample : single)
      POPSProcess(singles_, 1, &sample);
    const auto byteCount = static_cast<uint32_t>(samples.size() * sizeof(int16_t));
    POPSProcessBuffer(blocks_, 0, samples.data(), byteCount, samples.data(), byteCount, 0);
    if (isCutFree_ && single != samples) std::abort();
  }

 private:
  POPSState* blocks_ = nullptr;
  POPSState* singles_ = nullptr;
  bool isCutFree_ = true;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  zr::test::FuzzInput input(data, size);
  TwoCuts filters;
  while (!input.IsEmpty()) {
    const auto action = input.Take<uint8_t>();
    if (action < 64) {
      filters.Write(action % 16, input.Take<uint32_t>());
    } else {
      std::vector<int16_t> block(action - 64U);
      input.TakeInto(block.data(), block.size() * sizeof(int16_t));
      filters.Process(std::move(block));
    }
  }
  return 0;
}
