// Audio with clicks, files of it, and what the filter makes of it when it is called directly.
#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zr::test {

/// Interleaved 16-bit sound, another in each channel, with a click now and then.
std::vector<int16_t> ClickySound(std::size_t frames, std::size_t channels);

/// The filter's output on each channel of a stream by itself. With aligned, the lag is taken off.
std::vector<int16_t> Filtered(const std::vector<int16_t>& samples, std::size_t channels,
                              bool aligned);

std::string LittleEndianBytes(const std::vector<int16_t>& samples);

struct SoundFileContent {
  SF_INFO info = {};
  std::vector<int> integers;  ///< Left-justified.
  std::vector<double> doubles;
};

/// Throws if the file cannot be read.
SoundFileContent ReadSoundFile(const std::string& path);

/// Writes doubles where the format holds floats, else left-justified integers.
void WriteSoundFile(const std::string& path, int format, int rate, int channels,
                    const std::vector<int>& integers, const std::vector<double>& doubles = {});
void WriteSoundFile(const std::string& path, int format, int rate, int channels,
                    const std::vector<int16_t>& samples);

}  // namespace zr::test
