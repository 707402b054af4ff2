// Prints how accurate the vector mathematics is: for each function the largest and the mean error
// in units of the result's last place, and the share of results that are not the nearest number.
// Fails where one of them is larger than it has to be.
//
//   math_accuracy [STRIDE [DIRECTORY [NAME]]]
//
// Functions of one float take every STRIDE-th of the 2^32 floats, 1 for all of them; functions of
// two 10^8 / STRIDE pairs, functions of doubles 10^7 / STRIDE arguments or pairs. With a DIRECTORY,
// NAME.tsv holds the largest and the mean error of each binade: what plots are made from. With a
// NAME, only functions that begin with it are measured.
//
// Doubles are compared with MPFR, floats with the C library's functions of doubles, whose error is
// some 2^-29 of a float's last place. A sample of these is compared with MPFR, and wherever they
// are too close to the middle between two floats, MPFR decides which is the nearest.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "tests/primitives/accuracy/measure.h"

namespace zr::test {
namespace {

constexpr double kLargestReferenceError = 0x1p-51;

struct Options {
  uint64_t stride = 1009;
  std::string directory;
  std::string name;
};

template <typename Element>
uint64_t Arguments(const Function<Element>& function, uint64_t stride) {
  if (function.fill == nullptr) return (uint64_t{1} << 32) / stride;
  return (sizeof(Element) == sizeof(float) ? 100'000'000 : 10'000'000) / stride;
}

template <typename Element>
Figures MeasureOnAllProcessors(const Function<Element>& function, uint64_t stride) {
  const uint64_t blocks = (Arguments(function, stride) + Share::kBlock - 1) / Share::kBlock;
  const unsigned threadCount = std::max(1U, std::thread::hardware_concurrency());
  std::vector<Figures> parts(threadCount);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < threadCount; ++t)
    threads.emplace_back([&, t] {
      parts[t] = Measure(function, Share{t, threadCount, blocks, stride});
    });
  Figures figures;
  for (unsigned t = 0; t < threadCount; ++t) {
    threads[t].join();
    figures.Add(parts[t]);
  }
  return figures;
}

void WriteBinades(const std::string& path, const Figures& figures) {
  std::ofstream file(path);
  file << "sign\texponent\tlargest\tmean\n";
  for (const int sign : {0, 1}) {
    int exponent = Figures::kLowestExponent;
    for (const Errors& errors : figures.binades[sign]) {
      if (errors.count != 0 && exponent != Figures::kLowestExponent)
        file << "+-"[sign] << '\t' << exponent << '\t' << errors.largest << '\t' << errors.Mean()
             << '\n';
      ++exponent;
    }
  }
  if (!file.flush()) {
    std::fprintf(stderr, "math_accuracy: cannot write %s\n", path.c_str());
    std::exit(1);
  }
}

bool IsAtMost(const char* what, double figure, double bound) {
  if (figure <= bound) return true;
  std::printf("    %s: %.9g, at most %.9g is allowed\n", what, figure, bound);
  return false;
}

template <typename Element>
bool Report(const Function<Element>& function, const Options& options) {
  if (!std::string(function.name).starts_with(options.name)) return true;
  const Figures figures = MeasureOnAllProcessors(function, options.stride);
  const double notNearest =
      static_cast<double>(figures.notNearest) / static_cast<double>(figures.all.count);
  std::printf("%-18s %11" PRIu64 " %14.6f %9.6f %12.3g  %a", function.name, figures.all.count,
              figures.all.largest, figures.all.Mean(), notNearest, figures.worst[0]);
  if (figures.worst[1] != 0.0) std::printf(", %a", figures.worst[1]);
  std::puts("");
  std::fflush(stdout);
  if (!options.directory.empty())
    WriteBinades(options.directory + "/" + function.name + ".tsv", figures);
  bool isGood = IsAtMost("largest error", figures.all.largest, function.largest);
  isGood &= IsAtMost("mean error", figures.all.Mean(), function.mean);
  isGood &= IsAtMost("share not nearest", notNearest, function.notNearest);
  isGood &= IsAtMost("errors that the method does not allow",
                     static_cast<double>(figures.notAllowed), 0.0);
  isGood &= IsAtMost("wrong NaNs and infinities", static_cast<double>(figures.wrongSpecials), 0.0);
  isGood &= IsAtMost("error of the reference", figures.referenceError, kLargestReferenceError);
  return isGood;
}

}  // namespace
}  // namespace zr::test

int main(int argumentCount, char** arguments) {
  using namespace zr::test;
  Options options;
  if (argumentCount > 1) options.stride = std::strtoull(arguments[1], nullptr, 10);
  if (argumentCount > 2) options.directory = arguments[2];
  if (argumentCount > 3) options.name = arguments[3];
  if (argumentCount > 4 || options.stride == 0) {
    std::fputs("usage: math_accuracy [STRIDE [DIRECTORY [NAME]]]\n", stderr);
    return 2;
  }
  std::printf("%-18s %11s %14s %9s %12s  %s\n", "function", "arguments", "largest", "mean",
              "not nearest", "largest at");
  bool isGood = true;
  for (const auto& function : FunctionsOfFloats())
    isGood &= Report(function, options);
  for (const auto& function : FunctionsOfDoubles())
    isGood &= Report(function, options);
  return isGood ? 0 : 1;
}
