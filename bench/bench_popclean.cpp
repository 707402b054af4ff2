// popclean as a whole process against FFmpeg's adeclick filter as a whole process, on the same file
// of ten seconds of speech.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

const std::string kInput = ZR_MATERIAL_DIR "/alsa-48000.clicked.wav";
const std::string kOutput = ZR_MATERIAL_DIR "/bench-output.wav";

void RunCommand(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) {
      state.SkipWithError(("failed: " + command).c_str());
      return;
    }
  }
}

BENCHMARK_CAPTURE(RunCommand, ours, std::string(ZR_POPCLEAN) + " --quiet " + kInput + " " + kOutput)
    ->Name("clean_file/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunCommand, adeclick,
                  "ffmpeg -nostdin -loglevel error -y -i " + kInput + " -af adeclick " + kOutput)
    ->Name("clean_file/adeclick")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
