// Recordings of the demo: 16-bit mono, from and to WAV files and raw samples.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace zr::demo {

struct Recording {
  int32_t sampleRate = 0;
  std::vector<int16_t> samples;
};

/// Throws std::runtime_error if the file cannot be read or is not 16-bit mono.
Recording ReadWav(const std::filesystem::path& path);

/// Throws std::runtime_error if the file cannot be written.
void WriteWav(const std::filesystem::path& path, const Recording& recording);

/// The bare samples, little-endian: for readers without a library for audio files.
void WritePcm(const std::filesystem::path& path, std::span<const int16_t> samples);

/// The WAV files among `paths` end to end. Throws std::runtime_error if there is none, or if their
/// sample rates differ.
Recording Concatenate(std::span<const std::filesystem::path> paths);

}  // namespace zr::demo
