// The command line: legal values reach the filter, illegal ones are refused with what is allowed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/popclean/filter_parameters.h"
#include "tests/apps/audio_samples.h"
#include "tests/apps/program_run.h"

namespace zr::test {
namespace {

using testing::HasSubstr;

class CommandLineTest : public testing::Test {
 protected:
  CommandLineTest() {
    WriteSoundFile(folder_ / "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 1,
                   ClickySound(3000, 1));
  }

  TempFolder folder_;
};

TEST_F(CommandLineTest, EachParameterTakesItsRangeAndNoMore) {
  for (const popclean::FilterParameter& parameter : popclean::kFilterParameters) {
    const std::string option = std::string("--") + parameter.name;
    for (const uint32_t legal : {parameter.lowest, parameter.highest}) {
      EXPECT_EQ(RunPopclean(folder_, {option, std::to_string(legal), "in.wav", "-"}).exitCode, 0)
          << option << ' ' << legal;
    }
    const std::string illegal[] = {std::to_string(int64_t{parameter.lowest} - 1),
                                   std::to_string(int64_t{parameter.highest} + 1), "2.5", "12x",
                                   ""};
    for (const std::string& value : illegal) {
      const Outcome outcome = RunPopclean(folder_, {option, value, "in.wav", "-"});
      EXPECT_EQ(outcome.exitCode, 2) << option << ' ' << value;
      EXPECT_EQ(outcome.output, "");
      EXPECT_THAT(outcome.error, HasSubstr(option));
      EXPECT_THAT(outcome.error, HasSubstr(std::to_string(parameter.lowest) + " to " +
                                           std::to_string(parameter.highest)));
    }
  }
}

// Each option must change what its parameter changes: none may be lost or mixed up on the way.
TEST_F(CommandLineTest, ParametersReachTheFilter) {
  using Arguments = std::vector<std::string>;
  const auto output = [this](Arguments arguments) {
    arguments.insert(arguments.end(), {"in.wav", "-"});
    return RunPopclean(folder_, arguments).output;
  };
  const Arguments standard = {};
  const Arguments keen = {"--floor", "2"};
  const Arguments deaf = {"--floor", "2000", "--mode", "0"};
  const std::pair<Arguments, Arguments> changes[] = {
      {standard, {"--step", "20"}},     {standard, {"--floor", "1000"}},
      {standard, {"--slope", "9000"}},  {standard, {"--order", "30"}},
      {standard, {"--settle", "2900"}}, {keen, {"--mode", "0"}},
      {deaf, {"--ceiling", "300"}}};
  for (const auto& [base, change] : changes) {
    Arguments changed = base;
    changed.insert(changed.end(), change.begin(), change.end());
    EXPECT_TRUE(output(changed) != output(base)) << change[0];
  }
  const std::string lagging =
      RunPopclean(folder_, {"--raw", "--delay", "100", "in.wav", "-"}).output;
  EXPECT_EQ(lagging.substr(0, 200), std::string(200, '\0'));
  EXPECT_NE(lagging.substr(200, 100), std::string(100, '\0'));
}

TEST_F(CommandLineTest, MistakesAreToldAndNothingIsDone) {
  const std::pair<std::vector<std::string>, const char*> rows[] = {
      {{"in.wav"}, "OUTPUT"},
      {{"in.wav", "out.wav", "more"}, "more"},
      {{"--bogus", "in.wav", "out.wav"}, "--bogus"},
      {{"-", "out.wav"}, "--rate"},
      {{"--rate", "0", "-", "out.wav"}, "1 to "},
      {{"--rate", "8000", "--channels", "0", "-", "out.wav"}, "1 to 1024"},
      {{"--rate", "8000", "in.wav", "out.wav"}, "has its own"},
      {{"--channels", "2", "in.wav", "out.wav"}, "has its own"},
      {{"--repairs", "r.txt", "in.wav", "out.wav"}, ".csv or .json"},
      {{"--plot", "p.jpg", "in.wav", "out.wav"}, ".svg or .png"},
  };
  for (const auto& [arguments, words] : rows) {
    const Outcome outcome = RunPopclean(folder_, arguments);
    EXPECT_EQ(outcome.exitCode, 2) << words;
    EXPECT_THAT(outcome.error, testing::StartsWith("popclean: "));
    EXPECT_THAT(outcome.error, HasSubstr(words));
  }
  EXPECT_THAT(folder_.Names(), testing::UnorderedElementsAre("in.wav"));
}

}  // namespace
}  // namespace zr::test
