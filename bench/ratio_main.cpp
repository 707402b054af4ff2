// The main function of every benchmark program. Benchmarks are named CASE/CONTENDER; after the
// usual report this prints, for each case, the time of the contender "ours" over that of each of
// the others in the same run. Times are medians over the repetitions.
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
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string& name = run.run_name.function_name;
      const std::size_t slash = name.rfind('/');
      if (slash == std::string::npos) continue;
      times_[name.substr(0, slash)][name.substr(slash + 1)].push_back(run.GetAdjustedRealTime());
    }
  }

  void Finalize() override {
    for (const auto& [caseName, contenders] : times_) {
      const auto ours = contenders.find("ours");
      if (ours == contenders.end()) continue;
      for (const auto& [name, times] : contenders) {
        if (name == "ours") continue;
        std::printf("%s: ours / %s = %.2f\n", caseName.c_str(), name.c_str(),
                    Median(ours->second) / Median(times));
      }
    }
  }

 private:
  static double Median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

  std::map<std::string, std::map<std::string, std::vector<double>>> times_;
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
