// Drives one record through any order of parameter writes and blocks; the sanitizers judge.
#include <algorithm>
#include <cstdint>
#include <cstring>
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

uint32_t BoundedValue(uint32_t id, uint32_t value) {
  // Lengths up to a size at which an input still runs in no time.
  const bool isLength = id == POPS_ID_ORDER || id == POPS_ID_DELAY;
  return isLength && value % 8 != 0 ? value % 64 : value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  POPSState* state = nullptr;
  if (POPSCreate(&state) == POPS_OK) {
    while (!bytes.IsEmpty()) {
      const auto action = bytes.Take<uint8_t>();
      if (action < 64) {
        const uint32_t id = action % 16;
        const auto value = bytes.Take<uint32_t>();
        // A huge length is legal and a mere allocation; keep the machine out of it.
        const uint32_t bounded = BoundedValue(id, value);
        if (bounded >= 64 && bounded < 0xfffff000U &&
            (id == POPS_ID_ORDER || id == POPS_ID_DELAY)) {
          continue;
        }
        POPSSetParameterBlock(state, id, &bounded, sizeof(bounded));
      } else {
        std::vector<int16_t> block(action - 64U);
        bytes.TakeInto(block.data(), block.size() * sizeof(int16_t));
        const auto byteCount = static_cast<uint32_t>(block.size() * sizeof(int16_t));
        POPSProcessBuffer(state, 0, block.data(), byteCount, block.data(), byteCount, 0);
      }
    }
  }
  POPSDestroy(state);
  return 0;
}
