#include "apps/popclean/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "apps/popclean/audio_format.h"
#include "apps/popclean/failure.h"

namespace zr::popclean {
namespace {

constexpr const char* kPurpose =
    "Finds short clicks in recordings and replaces them by what the sound around them predicts.";

constexpr const char* kExamples = R"(Examples:
  popclean talk.wav clean.wav
  popclean --floor 50 --repairs clicks.csv --plot clicks.png talk.flac clean.flac
  arecord -q -t raw -f S16_LE -r 48000 -c 1 | popclean --rate 48000 - - |
      aplay -q -t raw -f S16_LE -r 48000 -c 1

A file that was to be written appears only when it is complete. Exit codes: 0 all is done, 1 the
work failed, 2 the command line is wrong.)";

constexpr int64_t kMostChannels = 1024;
constexpr int64_t kHighestRate = 10'000'000;

struct Range {
  int64_t lowest;
  int64_t highest;
  std::string unit;
};

std::string WithUnit(const std::string& text, const std::string& unit) {
  return unit.empty() ? text : text + " " + unit;
}

std::string Text(const Range& range) {
  return WithUnit(std::to_string(range.lowest) + " to " + std::to_string(range.highest),
                  range.unit);
}

// Empty for a legal value, else the end of the sentence "--option: ...".
std::string Complaint(const std::string& value, const Range& range) {
  int64_t number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  const bool isLegal =
      error == std::errc() && stop == end && number >= range.lowest && number <= range.highest;
  if (isLegal) return {};
  return "must be a whole number, " + Text(range) + ", not " + Quoted(value);
}

template <typename Number>
CLI::Option* AddNumber(CLI::App& app, const std::string& name, Number& value, const Range& range,
                       const std::string& meaning) {
  return app.add_option(name, value, meaning)
      ->type_name("N")
      ->check(CLI::Validator([range](const std::string& text) { return Complaint(text, range); },
                             "", ""));
}

CLI::Option* AddName(CLI::App& app, const std::string& name, std::string& value,
                     const std::string& meaning, void (*check)(const std::string&)) {
  return app.add_option(name, value, meaning)
      ->type_name("FILE")
      ->check(CLI::Validator(
          [check](const std::string& text) -> std::string {
            try {
              check(text);
              return {};
            } catch (const Failure& failure) {
              return failure.what();
            }
          },
          "", ""));
}

void AddFilterOptions(CLI::App& app, FilterSettings& settings) {
  for (std::size_t i = 0; i < kFilterParameters.size(); ++i) {
    const FilterParameter& parameter = kFilterParameters[i];
    const Range range = {parameter.lowest, parameter.highest, parameter.unit};
    AddNumber(app, std::string("--") + parameter.name, settings.values[i], range,
              std::string(parameter.meaning) + "\n(" + Text(range) + "; default " +
                  std::to_string(parameter.standard) + ")")
        ->group("Filter");
  }
}

// CLI11's help without its remarks on types, and with the descriptions as they are broken here.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(20); }

  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "\nUsage: popclean [OPTIONS] INPUT OUTPUT\n";
  }

  // One empty line between groups.
  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override {
    const std::string text = CLI::Formatter::make_group(group, isPositional, options);
    return isPositional ? text + "\n" : text.substr(1);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const bool hasValue = option->get_type_size() != 0 && option->nonpositional();
    return hasValue ? " " + option->get_type_name() : "";
  }
};

std::unique_ptr<CLI::App> MakeApp(JobOptions& options, CLI::Option*& rate, CLI::Option*& channels) {
  auto app = std::make_unique<CLI::App>(kPurpose, "popclean");
  app->formatter(std::make_shared<HelpFormatter>());
  app->get_formatter()->label("Positionals", "Arguments");
  app->footer(kExamples);

  app->add_option("INPUT", options.input,
                  "An audio file of any format that libsndfile reads, or '-': raw samples\n"
                  "from standard input, signed, 16 bits, little-endian")
      ->required();
  app->add_option("OUTPUT", options.output,
                  "An audio file, its format by the extension, or '-': raw samples to\n"
                  "standard output, with no more delay than the filter's own")
      ->required();

  rate = AddNumber(*app, "--rate", options.rate, {1, kHighestRate, "hertz"},
                   "Sample rate of raw input in hertz; needed with INPUT '-'");
  channels =
      AddNumber(*app, "--channels", options.channels, {1, kMostChannels, ""},
                "Channels of raw input (1 to " + std::to_string(kMostChannels) + "; default 1)");
  rate->group("Audio");
  channels->group("Audio");
  app->add_flag("--raw", options.keepLag,
                "Leave the filter's lag in the output, which is then exactly\n"
                "as long as the input; without this it is aligned with the input")
      ->group("Audio");

  AddFilterOptions(*app, options.settings);

  AddName(*app, "--repairs", options.repairs, "List every repair, as .csv or .json",
          RepairList::CheckName)
      ->group("Reports");
  AddName(*app, "--plot", options.plot,
          "Draw the waveform and the largest repairs, as .svg or .png (needs gnuplot)",
          RepairPlot::CheckName)
      ->group("Reports");
  app->add_flag("--quiet", options.isQuiet, "No progress bar, no summary; errors are still told")
      ->group("Reports");
  app->set_help_flag("-h,--help", "Show this text")->group("Help");
  app->set_version_flag("--version", "popclean " ZR_VERSION, "Show the version")->group("Help");
  return app;
}

// What depends on more than one argument.
void CheckTogether(const JobOptions& options, bool hasRate, bool hasChannels) {
  const bool isRawInput = options.input == kStandardStream;
  if (isRawInput && !hasRate) throw Failure("--rate must tell the sample rate of standard input");
  if (!isRawInput && (hasRate || hasChannels)) {
    throw Failure("--rate and --channels are for raw input '-'; the file " + Quoted(options.input) +
                  " has its own");
  }
  if (options.output != kStandardStream) CheckOutputName(options.output);
}

}  // namespace

std::optional<JobOptions> ParseCommandLine(int argumentCount, const char* const* arguments,
                                           int& exitCode) {
  JobOptions options;
  CLI::Option* rate = nullptr;
  CLI::Option* channels = nullptr;
  const std::unique_ptr<CLI::App> app = MakeApp(options, rate, channels);
  try {
    app->parse(argumentCount, arguments);
    CheckTogether(options, rate->count() > 0, channels->count() > 0);
    return options;
  } catch (const CLI::Success& answer) {
    exitCode = app->exit(answer);
  } catch (const CLI::ParseError& mistake) {
    std::fprintf(stderr, "popclean: %s (see popclean --help)\n", mistake.what());
    exitCode = kExitBadCommandLine;
  } catch (const Failure& mistake) {
    std::fprintf(stderr, "popclean: %s (see popclean --help)\n", mistake.what());
    exitCode = kExitBadCommandLine;
  }
  return std::nullopt;
}

}  // namespace zr::popclean
