// What is told about a run: the list of repairs, the plot, the summary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/popclean/close_ups.h"
#include "apps/popclean/summary.h"
#include "apps/popclean/waveform_envelope.h"
#include "tests/apps/audio_samples.h"
#include "tests/apps/program_run.h"

namespace zr::test {
namespace {

using testing::HasSubstr;

std::string FileContent(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Both lists against the difference of the samples, and the totals of the summary.
TEST(ReportsTest, ListsAgreeWithTheSamples) {
  const TempFolder folder;
  const std::vector<int16_t> sound = ClickySound(20000, 2);
  WriteSoundFile(folder / "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, sound);
  const Outcome csv = RunPopclean(folder, {"--repairs", "r.csv", "a.wav", "b.wav"});
  const Outcome json = RunPopclean(folder, {"--raw", "--repairs", "r.json", "a.wav", "c.wav"});
  ASSERT_EQ(csv.exitCode + json.exitCode, 0) << csv.error << json.error;

  const std::vector<int16_t> filtered = Filtered(sound, 2, true);
  const auto rows = nlohmann::json::parse(FileContent(folder / "r.json"));
  std::istringstream lines(FileContent(folder / "r.csv"));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "channel,sample,time,before,after");
  std::size_t count = 0;
  std::size_t inChannel[2] = {};
  for (std::size_t i = 0; i < sound.size(); ++i) {
    if (filtered[i] == sound[i]) continue;
    ++inChannel[i % 2];
    const std::size_t frame = i / 2;
    const double seconds = static_cast<double>(frame) / 44100.0;
    ASSERT_LT(count, rows.size());
    EXPECT_EQ(rows[count++], (nlohmann::json{{"channel", i % 2 + 1},
                                             {"sample", frame},
                                             {"time", seconds},
                                             {"before", sound[i]},
                                             {"after", filtered[i]}}));
    double time = 0.0;
    ASSERT_TRUE(std::getline(lines, line));
    const std::string start = std::to_string(i % 2 + 1) + "," + std::to_string(frame) + ",";
    ASSERT_THAT(line, testing::StartsWith(start));
    std::istringstream(line.substr(start.size())) >> time;
    EXPECT_EQ(time, seconds);
    std::ostringstream values;
    values << ',' << sound[i] << ',' << filtered[i];
    EXPECT_THAT(line, testing::EndsWith(values.str()));
  }
  EXPECT_EQ(count, rows.size());
  EXPECT_FALSE(std::getline(lines, line));
  EXPECT_THAT(csv.error,
              HasSubstr(std::to_string(count) + " repairs: " + std::to_string(inChannel[0]) +
                        " in channel 1, " + std::to_string(inChannel[1]) + " in channel 2"));
}

TEST(ReportsTest, ARunWithoutRepairsMakesWholeReports) {
  const TempFolder folder;
  const RunOptions silence = {.input = std::string(4000, '\0')};
  const Outcome outcome = RunPopclean(
      folder, {"--quiet", "--rate", "8000", "--repairs", "r.json", "--plot", "p.png", "-", "a.wav"},
      silence);
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(nlohmann::json::parse(FileContent(folder / "r.json")), nlohmann::json::array());
  EXPECT_THAT(FileContent(folder / "p.png"), testing::StartsWith("\x89PNG"));
}

TEST(ReportsTest, ThePlotTellsWhatItLeavesOut) {
  const TempFolder folder;
  const std::string name = "it's \"10\"%_a.wav";
  WriteSoundFile(folder / name, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 9, ClickySound(9000, 9));
  const Outcome outcome = RunPopclean(folder, {"--plot", "p.svg", name, "b.wav"});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.error;
  const std::string svg = FileContent(folder / "p.svg");
  for (const char* words : {"it's", "_a.wav", "channels 1 to 8 of 9 shown", "time in seconds",
                            "channel 8", "before", "after", "repaired here"}) {
    EXPECT_THAT(svg, HasSubstr(words));
  }
  EXPECT_THAT(svg, testing::EndsWith("</svg>\n\n"));
}

popclean::CleanedBlock Block(int64_t first, const std::vector<int16_t>& before,
                             const std::vector<int16_t>& after, std::size_t start,
                             std::size_t count) {
  return {first, count, 1, nullptr, before.data() + start, after.data() + start};
}

// However long the stream and however it is cut, the bins cover each sample once.
TEST(ReportsTest, TheEnvelopeIsTheExtentOfEachBin) {
  const std::vector<int16_t> before = ClickySound(50001, 1);
  const std::vector<int16_t> after = Filtered(before, 1, true);
  popclean::WaveformEnvelope envelope(1);
  for (std::size_t start = 0; start < before.size(); start += 777) {
    const std::size_t count = std::min<std::size_t>(777, before.size() - start);
    envelope.Add(Block(static_cast<int64_t>(start), before, after, start, count));
  }
  const auto width = static_cast<std::size_t>(envelope.BinWidth());
  const auto& bins = envelope.Bins(0);
  ASSERT_LE(bins.size(), popclean::WaveformEnvelope::kMostBins);
  ASSERT_EQ(bins.size(), (before.size() + width - 1) / width);
  for (std::size_t bin = 0; bin < bins.size(); ++bin) {
    const auto first = static_cast<std::ptrdiff_t>(bin * width);
    const auto last = static_cast<std::ptrdiff_t>(std::min((bin + 1) * width, before.size()));
    const auto [low, high] = std::minmax_element(before.begin() + first, before.begin() + last);
    const auto [newLow, newHigh] = std::minmax_element(after.begin() + first, after.begin() + last);
    ASSERT_EQ(bins[bin].beforeLow, *low);
    ASSERT_EQ(bins[bin].beforeHigh, *high);
    ASSERT_EQ(bins[bin].afterLow, *newLow);
    ASSERT_EQ(bins[bin].afterHigh, *newHigh);
    ASSERT_EQ(bins[bin].isRepaired,
              !std::equal(before.begin() + first, before.begin() + last, after.begin() + first));
  }
}

TEST(ReportsTest, CloseUpsAreTheLargestRepairsWithTheirSurroundings) {
  std::vector<int16_t> after(4000);
  for (std::size_t i = 0; i < after.size(); ++i)
    after[i] = static_cast<int16_t>(i % 101);
  std::vector<int16_t> before = after;
  const std::vector<std::size_t> clicks = {5, 300, 600, 900, 1200, 1500, 1800, 3990};
  for (std::size_t i = 0; i < clicks.size(); ++i) {
    before[clicks[i]] = static_cast<int16_t>(after[clicks[i]] + 1000 + (i * 5 % 8) * 100);
  }
  before[301] = static_cast<int16_t>(after[301] + 9000);  // A wide click is one picture.

  popclean::CloseUps closeUps(1);
  for (std::size_t start = 0; start < before.size(); start += 64) {
    const std::size_t count = std::min<std::size_t>(64, before.size() - start);
    closeUps.Add(Block(static_cast<int64_t>(start), before, after, start, count));
  }
  std::vector<int64_t> samples;
  for (const popclean::CloseUp& closeUp : closeUps.Sorted()) {
    samples.push_back(closeUp.repair.sample);
    const auto first = std::max<int64_t>(0, closeUp.repair.sample - 49);
    EXPECT_GE(closeUp.firstSample, first);
    ASSERT_LE(closeUp.firstSample + static_cast<int64_t>(closeUp.before.size()), 4000);
    EXPECT_TRUE(std::equal(closeUp.before.begin(), closeUp.before.end(),
                           before.begin() + closeUp.firstSample));
    EXPECT_TRUE(std::equal(closeUp.after.begin(), closeUp.after.end(),
                           after.begin() + closeUp.firstSample));
    const int64_t end = closeUp.firstSample + static_cast<int64_t>(closeUp.after.size());
    EXPECT_EQ(end, std::min<int64_t>(4000, closeUp.repair.sample + 49));
  }
  // The two smallest, at 5 and 1500, are left out.
  EXPECT_THAT(samples, testing::ElementsAre(301, 600, 900, 1200, 1800, 3990));
}

TEST(ReportsTest, DurationsReadWell) {
  EXPECT_EQ(popclean::DurationText(0.0004), "0.000 s");
  EXPECT_EQ(popclean::DurationText(59.9996), "1:00.000");
  EXPECT_EQ(popclean::DurationText(7.25), "7.250 s");
  EXPECT_EQ(popclean::DurationText(36061.5), "10:01:01.500");
}

}  // namespace
}  // namespace zr::test
