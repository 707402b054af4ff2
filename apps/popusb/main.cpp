// popusb: the filter for USB captures, through the driver's own code.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "apps/popclean/failure.h"
#include "apps/popclean/stop_request.h"
#include "apps/popusb/clean_capture.h"
#include "apps/popusb/report_text.h"
#include "apps/popusb/simulate_capture.h"

namespace {

using namespace zr::popusb;

constexpr int kExitFailure = 1;
constexpr int kExitBadCommandLine = 2;

constexpr const char* kPurpose =
    "Cleans the microphones of USB captures: what the capture tells becomes the requests that the\n"
    "filter driver would see, and its own code repairs the audio in them.";

constexpr const char* kExamples = R"(Examples:
  popusb clean camera.pcapng cleaned/
  popusb clean camera.pcap cleaned/ --write-capture cleaned.pcap
  popusb formats camera.pcap
  popusb simulate talk.wav microphone.pcap --failed 5

Captures: usbmon (link types 189 and 220) and USBPcap (249), pcap and pcapng. A file that was to be
written appears only when it is complete. Exit codes: 0 all is done, 1 the work failed, 2 the
command line is wrong.)";

void AddCleanOptions(CLI::App& clean, CleanOptions& options, std::string& folder) {
  clean.add_option("CAPTURE", options.capture, "Capture to read")->required();
  clean
      .add_option("FOLDER", folder,
                  "Where to write, for each stream, BUS-DEVICE-N.original.wav, .cleaned.wav and "
                  ".repairs.csv; the cleaned audio is late by 8 samples, as the class driver hears "
                  "it")
      ->required();
  clean.add_option("--write-capture", options.writeCapture,
                   "Write the capture with its isochronous packets as the class driver sees them");
}

// What the driver's instrumentation service offers.
struct ServiceOptions {
  bool hasStatistics = false;
  std::vector<double> disabled;
};

void AddServiceOptions(CLI::App& clean, CleanOptions& options, ServiceOptions& service) {
  clean.add_flag("--stats", service.hasStatistics, "Tell what the driver reports to its service");
  clean.add_option("--log", options.logLevel, "Print the driver's lines up to this level")
      ->type_name("LEVEL")
      ->check(CLI::Range(1, 15));
  clean
      .add_option("--disable", service.disabled,
                  "Disable the filter between two times, in seconds of the capture")
      ->type_name("FROM TO")
      ->expected(2);
  clean.add_option("--registry", options.registry,
                   "Fill the driver's registry from a text file before it is loaded");
}

void AddFirstSetting(CLI::App& command, CleanOptions& options) {
  command
      .add_option("--setting", options.device.firstSetting,
                  "Alternate setting in force when the capture begins, if it begins in a stream")
      ->type_name("N");
}

void AddSimulateOptions(CLI::App& simulate, SimulateOptions& options) {
  simulate.add_option("AUDIO", options.audio, "Mono audio file for the microphone to hear")
      ->required();
  simulate.add_option("CAPTURE", options.capture, "pcap file to write")->required();
  auto& behaviour = options.behaviour;
  simulate.add_option("--seed", behaviour.seed, "Which packets and transfers")
      ->capture_default_str();
  const auto addShare = [&simulate](const char* name, uint32_t& share, const char* meaning) {
    simulate.add_option(name, share, meaning)->type_name("THOUSANDTHS")->check(CLI::Range(0, 1000));
  };
  addShare("--jittered", behaviour.jitteredPackets, "Packets with a frame less, then one more");
  addShare("--short", behaviour.shortPackets, "Packets with fewer frames");
  addShare("--odd", behaviour.oddPackets, "Packets that end within a frame");
  addShare("--empty", behaviour.emptyPackets, "Packets without bytes");
  addShare("--failed", behaviour.failedPackets, "Packets with an error; their audio is lost");
  addShare("--failed-transfers", behaviour.failedTransfers, "Transfers with an error");
}

// A transfer that is refused, or one in a row that all fail, would never end.
void CheckBehaviour(const zr::host::MicrophoneBehaviour& behaviour) {
  if (behaviour.failedTransfers < 1000 && behaviour.emptyPackets < 1000) return;
  throw zr::popclean::Failure(
      "with all packets empty or all transfers failed, no audio would come");
}

int Run(int argumentCount, const char* const* arguments) {
  CLI::App app{kPurpose, "popusb"};
  app.footer(kExamples);
  app.set_version_flag("--version", ZR_VERSION);
  app.require_subcommand(1);
  CleanOptions cleanOptions;
  std::string folder;
  auto* const clean = app.add_subcommand("clean", "Write the cleaned audio beside the original");
  AddCleanOptions(*clean, cleanOptions, folder);
  AddFirstSetting(*clean, cleanOptions);
  ServiceOptions service;
  AddServiceOptions(*clean, cleanOptions, service);
  auto* const formats = app.add_subcommand("formats", "Tell the formats and streams alone");
  formats->add_option("CAPTURE", cleanOptions.capture, "Capture to read")->required();
  AddFirstSetting(*formats, cleanOptions);
  SimulateOptions simulateOptions;
  auto* const simulate = app.add_subcommand("simulate", "Make a capture of a simulated microphone");
  AddSimulateOptions(*simulate, simulateOptions);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitBadCommandLine;
  }
  zr::popclean::InstallStopHandlers();
  if (simulate->parsed()) {
    CheckBehaviour(simulateOptions.behaviour);
    SimulateCapture(simulateOptions);
    return 0;
  }
  if (clean->parsed()) cleanOptions.device.folder = folder;
  if (!service.disabled.empty()) cleanOptions.disabled = {service.disabled[0], service.disabled[1]};
  cleanOptions.device.hasService =
      service.hasStatistics || cleanOptions.logLevel > 0 || cleanOptions.disabled;
  CaptureReport report = CleanCapture(cleanOptions);
  if (!service.hasStatistics) report.statistics.clear();
  std::fputs(ReportText(cleanOptions.capture, report).c_str(), stdout);
  return std::fflush(stdout) == 0 ? 0 : kExitFailure;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  try {
    zr::popclean::FillStandardStreams();
    return Run(argumentCount, arguments);
  } catch (const std::bad_alloc&) {
    std::fputs("popusb: there is not enough memory\n", stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "popusb: %s\n", failure.what());
  }
  return kExitFailure;
}
