// The last samples of a stream, at all times in one run, oldest first: each sample is written
// twice, a ring's length apart, so that no loop over them has to look where the ring ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "primitives/element_access.h"

namespace zr::primitives {

struct DoubledRing {
  float* data;       ///< 2 * length floats.
  int32_t length;    ///< At least 1.
  int32_t position;  ///< Where the next sample goes, in [0, length).

  void Push(float sample) {
    data[position] = sample;
    data[static_cast<std::ptrdiff_t>(position) + length] = sample;
    ++position;
    if (position == length) position = 0;
  }

  /// At any address.
  void PushAll(const float* samples, int32_t count) {
    if (count < length) {
      for (int32_t i = 0; i < count; ++i) {
        Push(Load(samples, i));
      }
      return;
    }
    const std::size_t size = static_cast<std::size_t>(length) * sizeof(float);
    std::memcpy(data, samples + (count - length), size);
    std::memcpy(data + length, samples + (count - length), size);
    position = 0;
  }

  /// The run of the last `length` samples, the newest at its end.
  [[nodiscard]] const float* Run() const { return data + position; }
};

}  // namespace zr::primitives
