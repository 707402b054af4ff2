// Ten seconds of recorded speech at 48 kHz for the benchmarks.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace zr::bench {

inline std::vector<int16_t> TenSecondsOfSpeech() {
  const std::filesystem::path path =
      std::filesystem::path(ZR_MATERIAL_DIR) / "alsa-48000.clicked.pcm";
  std::vector<int16_t> samples(480000);
  const auto byteCount = static_cast<std::streamsize>(samples.size() * sizeof(int16_t));
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(samples.data()), byteCount)) {
    std::fprintf(stderr, "%s has no ten seconds of samples: run apps/demo/make-material.sh\n",
                 path.c_str());
    std::exit(1);
  }
  return samples;
}

}  // namespace zr::bench
