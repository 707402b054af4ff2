// A second road to the filter's results, for tests: one loop over a whole stream, written from the
// mathematics, without blocks, primitives or safeguards against lost energy and divergence.
#pragma once

#include <cstdint>
#include <vector>

namespace zr::test {

struct ReferenceSettings {
  int32_t order = 8;
  int32_t settle = 16;
  int32_t delay = 8;
  uint32_t mode = 3;
  float step = 0.2F;
  float ceiling = 1.0F;
  float floor = 0.075F;
  float slope = 0.0F;
};

struct ReferenceResult {
  std::vector<int16_t> output;  ///< The stream after the filter, delayed.
  std::vector<float> coefs;     ///< As they stand at the end.
};

/// Runs the stream through a filter that was just created and configured.
ReferenceResult ReferenceFiltered(const ReferenceSettings& settings,
                                  const std::vector<int16_t>& stream);

}  // namespace zr::test
