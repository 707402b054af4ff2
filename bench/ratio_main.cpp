// The main function of every benchmark program. Benchmarks are named CASE/CONTENDER; after the
// usual report this prints, for each case, the time of the contender "ours" over that of each of
// the others in the same run, and where a benchmark tells them, how many elements and bytes a
// second "ours" takes. Times are medians over the repetitions: of processor time, where a benchmark
// does not ask for another.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ReportMedian(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string& name = run.run_name.function_name;
      const std::size_t slash = name.rfind('/');
      if (slash == std::string::npos) continue;
      const bool isProcessorTime = run.run_name.time_type.empty();
      Contender& contender = contenders_[name.substr(0, slash)][name.substr(slash + 1)];
      contender.times.push_back(isProcessorTime ? run.GetAdjustedCPUTime()
                                                : run.GetAdjustedRealTime());
      contender.elementRates.push_back(RateOf(run, "items_per_second"));
      contender.byteRates.push_back(RateOf(run, "bytes_per_second"));
    }
  }

  void Finalize() override {
    for (const auto& [caseName, contenders] : contenders_) {
      const auto ours = contenders.find("ours");
      if (ours == contenders.end()) continue;
      const double time = Median(ours->second.times);
      for (const auto& [name, contender] : contenders) {
        if (name == "ours") continue;
        std::printf("%s: ours / %s = %.2f\n", caseName.c_str(), name.c_str(),
                    time / Median(contender.times));
      }
      const double elementRate = Median(ours->second.elementRates);
      if (elementRate == 0.0) continue;
      std::printf("%s: ours = %.3g G elements/s, %.3g GB/s\n", caseName.c_str(), elementRate * 1e-9,
                  Median(ours->second.byteRates) * 1e-9);
    }
  }

 private:
  struct Contender {
    std::vector<double> times;
    std::vector<double> elementRates;
    std::vector<double> byteRates;
  };

  // Of several repetitions one line is enough.
  void ReportMedian(const std::vector<Run>& runs) {
    std::vector<Run> lines;
    for (const Run& run : runs) {
      if (run.repetitions <= 1 || run.aggregate_name == "median") lines.push_back(run);
    }
    if (!lines.empty()) ConsoleReporter::ReportRuns(lines);
  }

  static double RateOf(const Run& run, const char* name) {
    const auto rate = run.counters.find(name);
    return rate == run.counters.end() ? 0.0 : rate->second.value;
  }

  static double Median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

  std::map<std::string, std::map<std::string, Contender>> contenders_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
