// Suppresses the noise of speech in an audio file.
//
//   denoise noisy.wav clean.wav --rule ephraim-malah
//
// The rule of the gains is wiener, which is taken where none is named, or ephraim-malah. The output
// has the format, the sampling rate, the channels and the length of the input. It appears as a
// whole or not at all, and may replace the input.
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "noise_suppressor.h"

namespace fs = std::filesystem;

namespace {

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

[[noreturn]] void Fail(const std::string& what, const fs::path& path, const std::string& why) {
  throw std::runtime_error(what + ' ' + path.string() + ": " + why);
}

SoundFile Open(const fs::path& path, int mode, SF_INFO& info) {
  SoundFile file(sf_open(path.c_str(), mode, &info), &sf_close);
  if (!file) Fail(mode == SFM_READ ? "cannot read" : "cannot write", path, sf_strerror(nullptr));
  return file;
}

void CheckNames(const fs::path& input, const fs::path& output) {
  if (output.extension() != input.extension())
    Fail("cannot write", output,
         "it gets the format of the input, so let it end in '" + input.extension().string() + "'");
  if (fs::exists(output) && !fs::is_regular_file(output))
    Fail("cannot write", output, "it exists and is no file, so name another");
}

// Of frames, in which the samples of the channels stand side by side, one channel.
void ProcessChannel(NoiseSuppressor& suppressor, float* frames, std::size_t channels) {
  std::vector<float> samples(static_cast<std::size_t>(suppressor.Hop()));
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = frames[i * channels];
  suppressor.Process(samples.data());
  for (std::size_t i = 0; i < samples.size(); ++i)
    frames[i * channels] = samples[i];
}

void Denoise(const fs::path& inputPath, const fs::path& outputPath, GainRule rule) {
  SF_INFO info = {};
  const SoundFile input = Open(inputPath, SFM_READ, info);
  SoundFile output = Open(outputPath, SFM_WRITE, info);
  sf_command(output.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);

  std::vector<NoiseSuppressor> suppressors;
  for (int i = 0; i < info.channels; ++i)
    suppressors.emplace_back(info.samplerate, rule);
  const auto channels = static_cast<std::size_t>(info.channels);
  const sf_count_t hop = suppressors.front().Hop();
  std::vector<float> frames(static_cast<std::size_t>(hop) * channels);

  // What comes out of a hop went in one hop before.
  sf_count_t pending = 0;
  do {
    std::ranges::fill(frames, 0.0F);
    const sf_count_t count = sf_readf_float(input.get(), frames.data(), hop);
    if (sf_error(input.get()) != SF_ERR_NO_ERROR)
      Fail("cannot read", inputPath, sf_strerror(input.get()));
    if (!std::ranges::all_of(frames, [](float sample) { return std::isfinite(sample); }))
      Fail("cannot clean", inputPath, "it has samples that are not numbers, so repair it first");
    for (std::size_t channel = 0; channel < channels; ++channel)
      ProcessChannel(suppressors[channel], &frames[channel], channels);
    if (sf_writef_float(output.get(), frames.data(), pending) != pending)
      Fail("cannot write", outputPath, sf_strerror(output.get()));
    pending = count;
  } while (pending > 0);
  if (sf_close(output.release()) != 0) Fail("cannot write", outputPath, "it cannot be completed");
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + argumentCount);
  const bool namesRule = words.size() == 4 && words[2] == "--rule";
  const std::string rule = namesRule ? words[3] : "wiener";
  if ((words.size() != 2 && !namesRule) || (rule != "wiener" && rule != "ephraim-malah")) {
    std::cerr << "usage: denoise INPUT OUTPUT [--rule wiener|ephraim-malah]\n";
    return 2;
  }
  const fs::path input = words[0];
  const fs::path output = words[1];
  const fs::path unfinished = words[1] + '.' + std::to_string(getpid()) + ".part";
  try {
    CheckNames(input, output);
    Denoise(input, unfinished, rule == "wiener" ? GainRule::kWiener : GainRule::kEphraimMalah);
    fs::rename(unfinished, output);
  } catch (const std::exception& error) {
    std::cerr << "denoise: " << error.what() << '\n';
    std::error_code ignored;
    fs::remove(unfinished, ignored);
    return 1;
  }
}
