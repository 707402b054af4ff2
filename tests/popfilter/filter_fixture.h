// What the filter's tests share: a record that frees itself, streams, and cutting them into blocks.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "popfilter/pops.h"

namespace zr::test {

using Samples = std::vector<int16_t>;

struct Destroy {
  void operator()(POPSState* state) const { POPSDestroy(state); }
};
using Filter = std::unique_ptr<POPSState, Destroy>;

inline Filter MakeFilter() {
  POPSState* state = nullptr;
  EXPECT_EQ(POPSCreate(&state), POPS_OK);
  return Filter(state);
}

/// Filters the stream in blocks whose lengths nextLength() tells.
template <typename NextLength>
Samples Filtered(POPSState* state, Samples stream, NextLength nextLength) {
  for (std::size_t start = 0; start < stream.size();) {
    const std::size_t count = std::min<std::size_t>(nextLength(), stream.size() - start);
    POPSProcess(state, static_cast<int32_t>(count), stream.data() + start);
    start += count;
  }
  return stream;
}

inline Samples Filtered(POPSState* state, Samples stream) {
  POPSProcess(state, static_cast<int32_t>(stream.size()), stream.data());
  return stream;
}

/// Two tones of a few thousand units.
inline Samples TwoTones(int32_t count) {
  Samples samples;
  for (int32_t i = 0; i < count; ++i) {
    const double value = 3000.0 * std::sin(0.05 * i) + 1500.0 * std::sin(0.13 * i + 1.0);
    samples.push_back(static_cast<int16_t>(std::lround(value)));
  }
  return samples;
}

/// Speech-like: tones under a slow envelope, with random clicks of one to three samples.
inline Samples ClickedTones(std::mt19937& random, int32_t count) {
  Samples samples = TwoTones(count);
  for (std::size_t i = 50; i < samples.size(); i += 1 + random() % 120) {
    samples[i] = static_cast<int16_t>(random());
  }
  return samples;
}

/// Raw 16-bit samples of the demo's recordings, made by make-material.sh.
inline Samples Material(const std::string& name) {
  const std::filesystem::path path = std::filesystem::path(ZR_MATERIAL_DIR) / name;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::filesystem::filesystem_error(
        "run apps/demo/make-material.sh", path,
        std::make_error_code(std::errc::no_such_file_or_directory));
  }
  Samples samples(static_cast<std::size_t>(std::filesystem::file_size(path)) / sizeof(int16_t));
  file.read(reinterpret_cast<char*>(samples.data()),
            static_cast<std::streamsize>(samples.size() * sizeof(int16_t)));
  return samples;
}

}  // namespace zr::test
