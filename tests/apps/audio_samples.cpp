#include "tests/apps/audio_samples.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

#include "popfilter/pops.h"

namespace zr::test {

std::vector<int16_t> ClickySound(std::size_t frames, std::size_t channels) {
  std::mt19937 random(7);
  std::vector<int16_t> samples(frames * channels);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t frame = i / channels;
    const double pitch = 0.02 + 0.007 * static_cast<double>(i % channels);
    double value =
        5000.0 * std::sin(static_cast<double>(frame) * pitch) + static_cast<double>(random() % 64);
    if (random() % 211 == 0) value += random() % 2 == 0 ? 14000.0 : -14000.0;
    samples[i] = static_cast<int16_t>(value);
  }
  return samples;
}

std::vector<int16_t> Filtered(const std::vector<int16_t>& samples, std::size_t channels,
                              bool aligned) {
  constexpr std::size_t kDelay = 8;
  std::vector<int16_t> filtered(samples.size());
  const std::size_t frames = samples.size() / channels;
  for (std::size_t channel = 0; channel < channels; ++channel) {
    std::vector<int16_t> one;
    for (std::size_t i = 0; i < frames; ++i)
      one.push_back(samples[i * channels + channel]);
    if (aligned) one.resize(frames + kDelay);
    POPSState* state = nullptr;
    POPSCreate(&state);
    POPSProcess(state, static_cast<int32_t>(one.size()), one.data());
    POPSDestroy(state);
    for (std::size_t i = 0; i < frames; ++i) {
      filtered[i * channels + channel] = one[aligned ? i + kDelay : i];
    }
  }
  return filtered;
}

std::string LittleEndianBytes(const std::vector<int16_t>& samples) {
  return {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(int16_t)};
}

SoundFileContent ReadSoundFile(const std::string& path) {
  SoundFileContent content;
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &content.info);
  if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  const auto samples = static_cast<std::size_t>(content.info.frames * content.info.channels);
  content.integers.resize(samples);
  content.doubles.resize(samples);
  const bool isWhole =
      sf_readf_int(file, content.integers.data(), content.info.frames) == content.info.frames &&
      sf_seek(file, 0, SEEK_SET) == 0 &&
      sf_readf_double(file, content.doubles.data(), content.info.frames) == content.info.frames;
  sf_close(file);
  if (!isWhole) throw std::runtime_error(path + " cannot be read twice");
  return content;
}

void WriteSoundFile(const std::string& path, int format, int rate, int channels,
                    const std::vector<int>& integers, const std::vector<double>& doubles) {
  SF_INFO info = {};
  info.format = format;
  info.samplerate = rate;
  info.channels = channels;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  if (doubles.empty()) {
    sf_write_int(file, integers.data(), static_cast<sf_count_t>(integers.size()));
  } else {
    sf_write_double(file, doubles.data(), static_cast<sf_count_t>(doubles.size()));
  }
  sf_close(file);
}

void WriteSoundFile(const std::string& path, int format, int rate, int channels,
                    const std::vector<int16_t>& samples) {
  std::vector<int> integers(samples.size());
  std::ranges::transform(samples, integers.begin(), [](int16_t sample) { return sample * 65536; });
  WriteSoundFile(path, format, rate, channels, integers);
}

}  // namespace zr::test
