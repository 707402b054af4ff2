// A digest of results that the presets must agree on bit by bit. A NaN of any sign and payload
// counts as one, as those are not told.
#pragma once

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "primitives/types.h"

namespace zr::test {

/// 64-bit FNV-1a.
class Digest {
 public:
  void AddBytes(const void* bytes, std::size_t size) {
    const auto* const from = static_cast<const uint8_t*>(bytes);
    for (std::size_t i = 0; i < size; ++i)
      hash_ = (hash_ ^ from[i]) * 0x100000001b3U;
  }

  template <typename Value>
  void Add(Value value) {
    if constexpr (std::is_floating_point_v<Value>) {
      if (std::isnan(value)) value = std::numeric_limits<Value>::quiet_NaN();
    } else {
      static_assert(std::is_integral_v<Value>);
    }
    AddBytes(&value, sizeof(value));
  }
  void Add(Complex32f value) {
    Add(value.re);
    Add(value.im);
  }
  void Add(Complex64f value) {
    Add(value.re);
    Add(value.im);
  }
  template <typename Value>
  void Add(const std::vector<Value>& values) {
    for (const Value& value : values)
      Add(value);
  }

  void Print(const char* name) const { std::printf("%016" PRIx64 " %s\n", hash_, name); }

 private:
  uint64_t hash_ = 0xcbf29ce484222325U;
};

}  // namespace zr::test
