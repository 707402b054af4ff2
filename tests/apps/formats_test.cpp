// Files in, files out: each width keeps its bits, each container its kind, and the output stands
// where the input stood.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>

#include "apps/popclean/audio_format.h"
#include "tests/apps/audio_samples.h"
#include "tests/apps/program_run.h"

namespace zr::test {
namespace {

struct WidthRow {
  int format;
  const char* extension;
  int bits;  // Of integer samples; 0 for float.
  int rate;
  std::size_t channels;
  const char* outputExtension = nullptr;  // Where the output is of another kind.
  int outputFormat = 0;
};

constexpr int kWav = SF_FORMAT_WAV;
constexpr WidthRow kWidthRows[] = {
    {kWav | SF_FORMAT_PCM_16, "wav", 16, 48000, 1},
    {kWav | SF_FORMAT_PCM_U8, "wav", 8, 8000, 2},
    {kWav | SF_FORMAT_PCM_24, "wav", 24, 44100, 2},
    {kWav | SF_FORMAT_PCM_32, "WAV", 32, 96000, 1},
    {kWav | SF_FORMAT_FLOAT, "wav", 0, 48000, 2},
    {kWav | SF_FORMAT_DOUBLE, "wav", 0, 22050, 1},
    {SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, "wav", 24, 48000, 5},
    {SF_FORMAT_RF64 | SF_FORMAT_PCM_16, "wav", 16, 48000, 1},
    {SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "flac", 24, 48000, 2},
    {SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, "aiff", 16, 11025, 1},
    {SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, "aif", 8, 12345, 3},
    {SF_FORMAT_CAF | SF_FORMAT_ALAC_24, "caf", 24, 48000, 2},
    {kWav | SF_FORMAT_PCM_24, "wav", 24, 48000, 1, "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
    {kWav | SF_FORMAT_PCM_16, "wav", 16, 48000, 1, "w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
};

// Samples that use the whole width, clicks among them.
std::vector<int> WideSamples(const std::vector<int16_t>& sound, int bits) {
  std::mt19937 random(3);
  const uint32_t used = ~uint32_t{0} << (32 - bits);
  std::vector<int> wide;
  for (const int16_t sample : sound) {
    const uint32_t low = random() & 0xFFFF;
    wide.push_back(std::bit_cast<int>((static_cast<uint32_t>(int{sample}) << 16 | low) & used));
  }
  return wide;
}

int16_t Nearest16(double sample) {
  if (std::isnan(sample)) return 0;
  return static_cast<int16_t>(
      std::min(32767.0, std::max(-32768.0, std::nearbyint(sample * 32768.0))));
}

void ExpectOnlyRepairedSamplesChange(const WidthRow& row) {
  const TempFolder folder;
  const std::vector<int16_t> sound = ClickySound(3000, row.channels);
  const std::vector<int> integers = WideSamples(sound, row.bits == 0 ? 32 : row.bits);
  std::vector<double> doubles;
  if (row.bits == 0) {
    for (const int sample : integers)
      doubles.push_back(static_cast<float>(std::ldexp(sample, -31)));
    doubles[101] = 1.75;
    doubles[102] = std::numeric_limits<double>::quiet_NaN();
  }
  const bool isOther = row.outputExtension != nullptr;
  const std::string input = std::string("a.") + row.extension;
  const std::string output = std::string("b.") + (isOther ? row.outputExtension : row.extension);
  WriteSoundFile(folder / input, row.format, row.rate, static_cast<int>(row.channels), integers,
                 doubles);

  const Outcome outcome = RunPopclean(folder, {input, output});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.error;
  EXPECT_EQ(outcome.error.find("judged at 16 bits") == std::string::npos, row.bits == 16);
  const SoundFileContent result = ReadSoundFile(folder / output);
  EXPECT_EQ(result.info.format, isOther ? row.outputFormat : row.format);
  EXPECT_EQ(result.info.samplerate, row.rate);
  ASSERT_EQ(result.doubles.size(), integers.size());

  std::vector<int16_t> views;
  for (std::size_t i = 0; i < integers.size(); ++i) {
    views.push_back(Nearest16(row.bits == 0 ? doubles[i] : std::ldexp(integers[i], -31)));
  }
  const std::vector<int16_t> filtered = Filtered(views, row.channels, true);
  std::size_t repairs = 0;
  for (std::size_t i = 0; i < integers.size(); ++i) {
    const bool isRepaired = filtered[i] != views[i];
    repairs += isRepaired ? 1 : 0;
    if (row.bits == 0) {
      const double expected = isRepaired ? filtered[i] / 32768.0 : doubles[i];
      ASSERT_EQ(std::bit_cast<uint64_t>(result.doubles[i]), std::bit_cast<uint64_t>(expected)) << i;
    } else {
      const double step = std::ldexp(1.0, 32 - row.bits);
      const double repaired = row.bits >= 16 ? filtered[i] * 65536.0
                                             : std::nearbyint(filtered[i] * 65536.0 / step) * step;
      ASSERT_EQ(result.integers[i], isRepaired ? repaired : integers[i]) << i;
    }
  }
  EXPECT_GT(repairs, 5U);
}

// Untouched samples keep every bit, repaired ones are the filter's.
TEST(FormatsTest, OnlyRepairedSamplesChange) {
  for (const WidthRow& row : kWidthRows) {
    SCOPED_TRACE(std::to_string(&row - kWidthRows));
    ExpectOnlyRepairedSamplesChange(row);
  }
}

TEST(FormatsTest, RawKeepsTheLagAndTheLength) {
  const TempFolder folder;
  const std::vector<int16_t> sound = ClickySound(40000, 2);
  WriteSoundFile(folder / "a.wav", kWav | SF_FORMAT_PCM_16, 48000, 2, sound);
  ASSERT_EQ(RunPopclean(folder, {"--raw", "a.wav", "-"}).output,
            LittleEndianBytes(Filtered(sound, 2, false)));
  ASSERT_EQ(RunPopclean(folder, {"a.wav", "-"}).output,
            LittleEndianBytes(Filtered(sound, 2, true)));
}

// Whatever can be written can be read again, and is no shorter.
TEST(FormatsTest, EveryKnownExtensionServesAsOutputAndInput) {
  const TempFolder folder;
  WriteSoundFile(folder / "a.wav", kWav | SF_FORMAT_PCM_16, 8000, 1, ClickySound(5000, 1));
  for (const std::string& extension : popclean::KnownExtensions()) {
    const Outcome written = RunPopclean(folder, {"a.wav", "b." + extension});
    EXPECT_EQ(written.exitCode, 0) << extension << ": " << written.error;
    if (extension == "raw") continue;  // Has no header to be known by.
    const Outcome read = RunPopclean(folder, {"b." + extension, "c.wav"});
    ASSERT_EQ(read.exitCode, 0) << extension << ": " << read.error;
    EXPECT_GE(ReadSoundFile(folder / "c.wav").info.frames, 5000) << extension;
  }
}

TEST(FormatsTest, TextsAndChannelMapTravel) {
  const TempFolder folder;
  SF_INFO info = {};
  info.format = SF_FORMAT_WAVEX | SF_FORMAT_PCM_16;
  info.samplerate = 48000;
  info.channels = 2;
  SNDFILE* file = sf_open((folder / "a.wav").c_str(), SFM_WRITE, &info);
  sf_set_string(file, SF_STR_TITLE, "Rain on a tin roof");
  int map[] = {SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT};
  sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map, sizeof(map));
  const std::vector<int16_t> sound = ClickySound(500, 2);
  sf_writef_short(file, sound.data(), 500);
  sf_close(file);

  ASSERT_EQ(RunPopclean(folder, {"a.wav", "b.wav"}).exitCode, 0);
  file = sf_open((folder / "b.wav").c_str(), SFM_READ, &info);
  ASSERT_NE(file, nullptr);
  EXPECT_STREQ(sf_get_string(file, SF_STR_TITLE), "Rain on a tin roof");
  int read[2] = {};
  EXPECT_EQ(sf_command(file, SFC_GET_CHANNEL_MAP_INFO, read, sizeof(read)), SF_TRUE);
  EXPECT_THAT(read, testing::ElementsAreArray(map));
  sf_close(file);
}

TEST(FormatsTest, ALinkToTheOutputStaysALink) {
  const TempFolder folder;
  std::filesystem::create_directory(folder / "far");
  WriteSoundFile(folder / "a.wav", kWav | SF_FORMAT_PCM_16, 48000, 1, ClickySound(500, 1));
  std::filesystem::create_symlink("far/there.wav", folder / "link.wav");
  ASSERT_EQ(RunPopclean(folder, {"a.wav", "link.wav"}).exitCode, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.wav"));
  EXPECT_EQ(ReadSoundFile(folder / "far/there.wav").info.frames, 500);
  EXPECT_THAT(folder.Names(), testing::UnorderedElementsAre("a.wav", "far", "link.wav"));
}

}  // namespace
}  // namespace zr::test
