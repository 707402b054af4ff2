// Floats as their 32-bit words: moved so, no value changes on the way. Through its registers the
// x87 would quieten a signalling NaN.
#pragma once

#include <cstdint>
#include <cstring>

namespace zr::primitives {

inline uint32_t LoadWord(const float* source) {
  uint32_t word = 0;
  std::memcpy(&word, source, sizeof(word));
  return word;
}

inline void StoreWord(float* destination, uint32_t word) {
  std::memcpy(destination, &word, sizeof(word));
}

}  // namespace zr::primitives
