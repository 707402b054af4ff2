// Bad input and bad targets: one sentence, an exit code, and nothing left behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/apps/audio_samples.h"
#include "tests/apps/program_run.h"

namespace zr::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

void PutNumber(const std::string& path, int place, uint64_t value, int bytes) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(place);
  for (int shift = 0; shift < 8 * bytes; shift += 8)
    file.put(static_cast<char>(value >> shift));
}

constexpr std::pair<const char*, int> kCutFiles[] = {
    {"cut.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
    {"cut.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
    {"cut.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
    {"cut.w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT},
    {"cut.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
    {"cut.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
    {"cut.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
    {"cut.voc", SF_FORMAT_VOC | SF_FORMAT_PCM_16},
    {"cut.mat", SF_FORMAT_MAT5 | SF_FORMAT_PCM_16}};

class RefusalsTest : public testing::Test {
 protected:
  RefusalsTest() {
    const std::vector<int16_t> sound = ClickySound(8000, 1);
    WriteSoundFile(folder_ / "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, sound);
    WriteSoundFile(folder_ / "none.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1,
                   std::vector<int16_t>());
    const auto cut = [&](const char* name, int format) {
      WriteSoundFile(folder_ / name, format, 44100, 1, sound);
      fs::resize_file(folder_ / name, fs::file_size(folder_ / name) / 2 + 1);
    };
    for (const auto& [name, format] : kCutFiles)
      cut(name, format);
    cut("cut.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    MakeLongFile();
    std::ofstream(folder_ / "text.wav") << "Dear diary, today it rained again.";
    std::ofstream(folder_ / "zero.wav").flush();
    fs::create_directory(folder_ / "folder.wav");
    mkfifo((folder_ / "fifo.wav").c_str(), 0600);
    fs::create_symlink("in.wav", folder_ / "link.wav");
    fs::create_hard_link(folder_ / "in.wav", folder_ / "twin.wav");
    fs::copy_file(folder_ / "in.wav", folder_ / "audio.csv");
  }

  // Five gigabytes of silence that take no room.
  void MakeLongFile() {
    const std::string path = folder_ / "long.rf64";
    WriteSoundFile(path, SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 8000, 1, std::vector<int16_t>(1));
    constexpr uint64_t kBytes = uint64_t{5} << 30;
    PutNumber(path, 20, kBytes + 96, 8);
    PutNumber(path, 28, kBytes, 8);
    PutNumber(path, 36, kBytes / 2, 8);
    fs::resize_file(path, kBytes + 104);
  }

  TempFolder folder_;
};

struct RefusalRow {
  std::vector<std::string> arguments;
  int exitCode;
  std::string words;
  RunOptions options = {};
};

TEST_F(RefusalsTest, EachIsOneSentenceThatLeavesNothing) {
  std::vector<RefusalRow> rows = {
      {{"missing.wav", "out.wav"}, 1, "'missing.wav': No such file"},
      {{"folder.wav", "out.wav"}, 1, "is a folder"},
      {{"fifo.wav", "out.wav"}, 1, "not a regular file"},
      {{"text.wav", "out.wav"}, 1, "not an audio file"},
      {{"zero.wav", "out.wav"}, 1, "'zero.wav' is empty"},
      {{"none.wav", "out.wav"}, 1, "holds no samples"},
      {{"--repairs", "r.csv", "--plot", "p.png", "cut.flac", "out.flac"}, 1, "'cut.flac' is"},
      {{"in.wav", "out"}, 2, ".flac"},
      {{"in.wav", "out.xyz"}, 2, ".flac"},
      {{"in.wav", "missing/out.wav"}, 1, "'missing/out.wav': No such file"},
      {{"in.wav", "folder.wav"}, 1, "is a folder"},
      {{"in.wav", "fifo.wav"}, 1, "not a regular file"},
      {{"in.wav", "in.wav"}, 1, "another file"},
      {{"in.wav", "./folder.wav/../in.wav"}, 1, "another file"},
      {{"in.wav", "link.wav"}, 1, "another file"},
      {{"in.wav", "twin.wav"}, 1, "another file"},
      {{"--repairs", "audio.csv", "audio.csv", "out.wav"}, 1, "must not be written"},
      {{"--repairs", "missing/r.csv", "in.wav", "out.wav"}, 1, "'missing/r.csv'"},
      {{"--plot", "p.png", "in.wav", "out.wav"}, 1, "gnuplot", {.environment = {"PATH=/missing"}}},
      {{"long.rf64", "out.wavex"}, 1, "too long"},
      {{"in.wav", "-"}, 1, "standard output", {.closedDescriptor = 1}},
      {{"--rate", "8000", "-", "out.wav"}, 1, "standard input", {.closedDescriptor = 0}},
      {{"in.wav", "out.opus"}, 1, "44100 Hz"},
      {{"in.wav", "out.wav"}, 1, "File too large", {.fileSizeLimit = 3000}},
      {{"in.wav", "out.flac"}, 1, "File too large", {.fileSizeLimit = 100}},
      {{"in.wav", "-"}, 1, "File too large", {.fileSizeLimit = 3000}},
      {{"--rate", "8000", "-", "out.wav"}, 1, "empty"},
      {{"--rate", "8000", "-", "out.wav"}, 1, "truncated", {.input = "abc"}},
      {{"--rate", "8000", "-", "in.wav"}, 1, "another file", {.inputFile = folder_ / "in.wav"}},
  };
  for (const auto& [name, format] : kCutFiles)
    rows.push_back({{name, "out.wav"}, 1, "is truncated"});
  const std::set<std::string> before = folder_.Names();
  for (const RefusalRow& row : rows) {
    const Outcome outcome = RunPopclean(folder_, row.arguments, row.options);
    const std::string command = testing::PrintToString(row.arguments);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << command;
    EXPECT_THAT(outcome.error, testing::StartsWith("popclean: ")) << command;
    EXPECT_THAT(outcome.error, HasSubstr(row.words)) << command;
    EXPECT_EQ(std::ranges::count(outcome.error, '\n'), 1) << outcome.error;
    EXPECT_EQ(folder_.Names(), before) << command;
  }
}

// A target that exists is as good as before when the work fails.
TEST_F(RefusalsTest, AFailureLeavesTheOldOutputAlone) {
  std::ofstream(folder_ / "old.wav") << "precious";
  EXPECT_EQ(RunPopclean(folder_, {"in.wav", "old.wav"}, {.fileSizeLimit = 3000}).exitCode, 1);
  EXPECT_EQ(fs::file_size(folder_ / "old.wav"), 8U);
  EXPECT_EQ(RunPopclean(folder_, {"in.wav", "old.wav"}).exitCode, 0);
  EXPECT_EQ(ReadSoundFile(folder_ / "old.wav").info.frames, 8000);
}

// Recorders that write to a pipe cannot know the length; that is no truncation.
TEST_F(RefusalsTest, SizesThatAStreamCannotKnowAreNoTruncation) {
  for (const uint32_t size : {0U, 0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 0x7FFFF000U}) {
    fs::remove(folder_ / "stream.wav");
    fs::copy_file(folder_ / "in.wav", folder_ / "stream.wav");
    PutNumber(folder_ / "stream.wav", 4, size == 0 ? 8 : size, 4);
    PutNumber(folder_ / "stream.wav", 40, size, 4);
    const Outcome outcome = RunPopclean(folder_, {"stream.wav", "out.wav"});
    EXPECT_EQ(outcome.exitCode, 0) << std::hex << size << ": " << outcome.error;
  }
}

}  // namespace
}  // namespace zr::test
