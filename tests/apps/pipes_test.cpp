// Raw audio through pipes: prompt, stoppable, and in constant memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "tests/apps/audio_samples.h"
#include "tests/apps/program_run.h"

namespace zr::test {
namespace {

constexpr std::size_t kDelay = 8;

// A recorder that writes odd pieces of a frame must not hold up what is due by now.
TEST(PipesTest, OutputLagsByTheFiltersDelayOnly) {
  for (const bool keepLag : {false, true}) {
    const TempFolder folder;
    const std::vector<int16_t> sound = ClickySound(600, 2);
    const std::string bytes = LittleEndianBytes(sound);
    const std::string expected = LittleEndianBytes(Filtered(sound, 2, !keepLag));
    std::vector<std::string> arguments = {"--rate", "48000", "--channels", "2", "-", "-"};
    if (keepLag) arguments.insert(arguments.begin(), "--raw");
    PipedPopclean program(folder, arguments);
    std::string received;
    for (std::size_t start = 0, piece = 1; start < bytes.size();
         start += piece, piece = piece % 7 + 1) {
      program.Write(bytes.substr(start, piece));
      const std::size_t frames = std::min(start + piece, bytes.size()) / 4;
      const std::size_t lag = keepLag ? 0 : kDelay;
      const std::size_t due = frames < lag ? 0 : (frames - lag) * 4;
      received += program.Read(due - received.size());
      ASSERT_EQ(received.size(), due);
    }
    program.CloseInput();
    received += program.Read(expected.size() - received.size());
    EXPECT_EQ(received, expected);
    EXPECT_EQ(program.Read(1), "");
    EXPECT_EQ(program.Wait().exitCode, 0);
  }
}

TEST(PipesTest, WhatIsWholeOfATruncatedStreamComesOut) {
  const TempFolder folder;
  const std::vector<int16_t> sound = ClickySound(1000, 1);
  const Outcome outcome =
      RunPopclean(folder, {"--rate", "8000", "-", "-"}, {.input = LittleEndianBytes(sound) + "x"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.error,
            "popclean: standard input is truncated: it ends 1 bytes into a frame of 2\n");
  EXPECT_EQ(outcome.output, LittleEndianBytes(Filtered(sound, 1, true)));
}

TEST(PipesTest, AStopLeavesNothing) {
  for (const int number : {SIGINT, SIGTERM}) {
    const TempFolder folder;
    PipedPopclean program(folder, {"--rate", "8000", "--repairs", "r.csv", "-", "out.wav"});
    program.Write(LittleEndianBytes(ClickySound(2000, 1)));
    for (int i = 0; i < 1000 && folder.Names().size() < 2; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_EQ(folder.Names().size(), 2U);
    program.Signal(number);
    const Outcome outcome = program.Wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "popclean: stopped by a signal before the work was complete\n");
    EXPECT_THAT(folder.Names(), testing::IsEmpty());
  }
}

TEST(PipesTest, APlayerThatStallsDoesNotPreventAStop) {
  const TempFolder folder;
  PipedPopclean program(folder, {"--rate", "8000", "-", "-"});
  program.Stuff(LittleEndianBytes(ClickySound(20000, 1)));
  program.Signal(SIGTERM);
  EXPECT_EQ(program.Wait().exitCode, 1);
}

TEST(PipesTest, MemoryDoesNotGrowWithTheStream) {
  const TempFolder folder;
  const std::string second = LittleEndianBytes(ClickySound(96000, 1));
  int64_t peaks[2] = {};
  for (const int isLong : {0, 1}) {
    std::ofstream stream(folder / "stream.raw", std::ios::binary);
    for (int i = 0; i < (isLong == 1 ? 80 : 1); ++i)
      stream << second;
    stream.close();
    const Outcome outcome = RunPopclean(
        folder, {"--rate", "48000", "--repairs", "r.csv", "--plot", "p.svg", "-", "out.wav"},
        {.inputFile = folder / "stream.raw"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.error;
    peaks[isLong] = outcome.peakKilobytes;
  }
  EXPECT_LT(peaks[1] - peaks[0], 6000) << "15 MB of samples; " << peaks[0] << " KB at rest";
}

}  // namespace
}  // namespace zr::test
