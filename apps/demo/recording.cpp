// Reads and writes the recordings of the demo.
#include "apps/demo/recording.h"

#include <sndfile.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace zr::demo {

namespace {

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& reason) {
  throw std::runtime_error(path.string() + ": " + reason);
}

SoundFile Open(const std::filesystem::path& path, int mode, SF_INFO& info) {
  SoundFile file(sf_open(path.c_str(), mode, &info), &sf_close);
  if (file == nullptr) Fail(path, sf_strerror(nullptr));
  return file;
}

}  // namespace

Recording ReadWav(const std::filesystem::path& path) {
  SF_INFO info = {};
  const SoundFile file = Open(path, SFM_READ, info);
  if (info.channels != 1 || (info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16) {
    Fail(path, "not 16-bit mono");
  }
  Recording recording{.sampleRate = info.samplerate, .samples = {}};
  recording.samples.resize(static_cast<size_t>(info.frames));
  if (sf_readf_short(file.get(), recording.samples.data(), info.frames) != info.frames) {
    Fail(path, "shorter than its header says");
  }
  return recording;
}

void WriteWav(const std::filesystem::path& path, const Recording& recording) {
  SF_INFO info = {};
  info.samplerate = recording.sampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  const SoundFile file = Open(path, SFM_WRITE, info);
  const auto frames = static_cast<sf_count_t>(recording.samples.size());
  if (sf_writef_short(file.get(), recording.samples.data(), frames) != frames) {
    Fail(path, sf_strerror(file.get()));
  }
}

void WritePcm(const std::filesystem::path& path, std::span<const int16_t> samples) {
  std::ofstream file(path, std::ios::binary);
  for (const int16_t sample : samples) {
    const auto bits = static_cast<uint16_t>(sample);
    file.put(static_cast<char>(bits & 0xFF)).put(static_cast<char>(bits >> 8));
  }
  file.close();
  if (!file) Fail(path, "cannot be written");
}

Recording Concatenate(std::span<const std::filesystem::path> paths) {
  if (paths.empty()) throw std::runtime_error("no recordings to concatenate");
  Recording whole;
  for (const auto& path : paths) {
    const Recording part = ReadWav(path);
    if (whole.sampleRate == 0) whole.sampleRate = part.sampleRate;
    if (part.sampleRate != whole.sampleRate) Fail(path, "differs in its sample rate");
    whole.samples.insert(whole.samples.end(), part.samples.begin(), part.samples.end());
  }
  return whole;
}

}  // namespace zr::demo
