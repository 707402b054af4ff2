// Drives the filter through any order of parameter writes and blocks. The sanitizers judge, and the
// output must not tell how the stream was cut.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "popfilter/pops.h"

namespace {

// Takes the input apart, giving zeros when it has run out.
class Bytes {
 public:
  Bytes(const uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  bool IsEmpty() const { return left_ == 0; }

  template <typename T>
  T Take() {
    T value{};
    TakeInto(&value, sizeof(value));
    return value;
  }

  void TakeInto(void* target, std::size_t size) {
    const std::size_t taken = std::min(size, left_);
    if (taken == 0) return;
    std::memcpy(target, data_, taken);
    data_ += taken;
    left_ -= taken;
  }

 private:
  const uint8_t* data_;
  std::size_t left_;
};

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
  Bytes bytes(data, size);
  TwoCuts filters;
  while (!bytes.IsEmpty()) {
    const auto action = bytes.Take<uint8_t>();
    if (action < 64) {
      filters.Write(action % 16, bytes.Take<uint32_t>());
    } else {
      std::vector<int16_t> block(action - 64U);
      bytes.TakeInto(block.data(), block.size() * sizeof(int16_t));
      filters.Process(std::move(block));
    }
  }
  return 0;
}
