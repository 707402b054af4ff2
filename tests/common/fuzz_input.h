// A fuzzer's input, taken apart piece by piece. It gives zeros when it has run out.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zr::test {

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  bool IsEmpty() const { return left_ == 0; }

  template <typename T>
  T Take() {
    T value{};
    TakeInto(&value, sizeof(value));
    return value;
  }
  uint8_t TakeByte() { return Take<uint8_t>(); }
  std::vector<uint8_t> TakeBytes(std::size_t count) {
    std::vector<uint8_t> bytes(std::min(count, left_));
    TakeInto(bytes.data(), bytes.size());
    return bytes;
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

}  // namespace zr::test
