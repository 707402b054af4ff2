// Prints how accurate the vector mathematics is: for each function the largest and the mean error
// in units of the result's last place, and how many results are not the nearest float.
//
//   math_accuracy [STRIDE [DIRECTORY]]
//
// Functions of one argument take every STRIDE-th of the 2^32 floats, 1 for all of them; powers take
// as many pairs of random bases and exponents, 10^8 at most, with a result that a float holds. With
// a DIRECTORY, NAME.tsv holds the largest and the mean error of each binade of the argument, of a
// power that of the result: what plots are made from.
//
// The reference is the C library's function in long double, which leaves an error of some 2^-40 of
// a float's last place. A sample of it is checked against MPFR in the same run.
#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "primitives/math/single_math.h"
#include "tests/primitives/random_elements.h"

namespace {

using zr::test::RandomElements;

struct Errors {
  double largest = 0;
  double sum = 0;
  uint64_t count = 0;

  void Add(double error) {
    largest = std::max(largest, error);
    sum += error;
    ++count;
  }
  void Add(const Errors& other) {
    largest = std::max(largest, other.largest);
    sum += other.sum;
    count += other.count;
  }
};

struct Figures {
  Errors all;
  float worst[2] = {};
  uint64_t notNearest = 0;
  uint64_t wrongSpecials = 0;      ///< A NaN or an infinity on one side only.
  double referenceError = 0;       ///< Of the reference against MPFR, relative.
  std::map<int, Errors> byBinade;  ///< The sign of the argument stands above the exponent.

  void Add(const Figures& other) {
    if (other.all.largest > all.largest) std::copy_n(other.worst, 2, worst);
    all.Add(other.all);
    notNearest += other.notNearest;
    wrongSpecials += other.wrongSpecials;
    referenceError = std::max(referenceError, other.referenceError);
    for (const auto& [binade, errors] : other.byBinade)
      byBinade[binade].Add(errors);
  }
};

struct Function {
  const char* name;
  int32_t (*ofOne)(const float*, float*, int32_t);
  int32_t (*ofTwo)(const float*, const float*, float*, int32_t);
  long double (*reference)(long double x, long double y);
  void (*exact)(mpfr_t result, const mpfr_t x, const mpfr_t y);
};

const Function kFunctions[] = {
    {"Sin_32f", &ippsSin_32f, nullptr, [](long double x, long double) { return std::sin(x); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t) { mpfr_sin(result, x, MPFR_RNDN); }},
    {"Cos_32f", &ippsCos_32f, nullptr, [](long double x, long double) { return std::cos(x); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t) { mpfr_cos(result, x, MPFR_RNDN); }},
    {"Tan_32f", &ippsTan_32f, nullptr, [](long double x, long double) { return std::tan(x); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t) { mpfr_tan(result, x, MPFR_RNDN); }},
    {"Log10_32f", &ippsLog10_32f, nullptr, [](long double x, long double) { return std::log10(x); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t) { mpfr_log10(result, x, MPFR_RNDN); }},
    {"Pow_32f", nullptr, &ippsPow_32f, [](long double x, long double y) { return std::pow(x, y); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t y) { mpfr_pow(result, x, y, MPFR_RNDN); }},
    {"PowAccurate_32f", nullptr, &ippsPowAccurate_32f,
     [](long double x, long double y) { return std::pow(x, y); },
     [](mpfr_t result, const mpfr_t x, const mpfr_t y) { mpfr_pow(result, x, y, MPFR_RNDN); }},
};

// In units of the last place of a float at the reference.
double ErrorInUlps(float result, long double reference) {
  const long double magnitude = std::fabs(reference);
  const int exponent = magnitude < 0x1p-126L ? -126 : std::ilogb(magnitude);
  // An infinity counts as the number behind the largest one.
  long double number = result;
  if (std::isinf(result)) number = std::copysign(0x1p128L, number);
  return static_cast<double>(std::ldexp(std::fabs(number - reference), 23 - exponent));
}

double RelativeErrorOfReference(const Function& function, float x, float y, long double reference) {
  mpfr_t operands[2];
  mpfr_t exact;
  mpfr_inits2(24, operands[0], operands[1], nullptr);
  mpfr_init2(exact, 160);
  mpfr_set_flt(operands[0], x, MPFR_RNDN);
  mpfr_set_flt(operands[1], y, MPFR_RNDN);
  function.exact(exact, operands[0], operands[1]);
  double error = 0;
  if (!mpfr_zero_p(exact)) {
    mpfr_t difference;
    mpfr_init2(difference, 160);
    mpfr_set_ld(difference, reference, MPFR_RNDN);
    mpfr_sub(difference, difference, exact, MPFR_RNDN);
    mpfr_div(difference, difference, exact, MPFR_RNDN);
    error = std::fabs(mpfr_get_d(difference, MPFR_RNDN));
    mpfr_clear(difference);
  }
  mpfr_clears(operands[0], operands[1], exact, nullptr);
  return error;
}

constexpr int32_t kBlock = 4096;

void FillPairs(uint64_t seed, std::vector<float>* x, std::vector<float>* y) {
  RandomElements random(seed, false);
  for (int32_t i = 0; i < kBlock; ++i) {
    // Half of the bases anywhere, half of them close to 1.
    const uint64_t bits = random.Bits();
    auto base = std::bit_cast<float>(static_cast<uint32_t>(bits >> 1) % 0x7f800000);
    if (bits % 2 == 0)
      base = 1.0F + std::ldexp(static_cast<float>(static_cast<int32_t>(bits >> 20)),
                               -32 - static_cast<int>((bits >> 1) % 20));
    const double logarithm = std::log2(static_cast<double>(base));
    const double wanted = -149.0 + static_cast<double>(random.Bits() >> 11) * (277.0 / 0x1p53);
    const double exponent = wanted / logarithm;
    const bool isPower = base > 0.0F && logarithm != 0.0 && std::fabs(exponent) < 3.0e38;
    (*x)[i] = isPower ? base : 2.0F;
    (*y)[i] = isPower ? static_cast<float>(exponent) : 0.5F;
  }
}

Figures Measure(const Function& function, uint64_t firstBlock, uint64_t blockStep, uint64_t blocks,
                uint64_t stride) {
  Figures figures;
  std::vector<float> x(kBlock);
  std::vector<float> y(kBlock);
  std::vector<float> result(kBlock);
  for (uint64_t block = firstBlock; block < blocks; block += blockStep) {
    if (function.ofTwo != nullptr) {
      FillPairs(block, &x, &y);
      function.ofTwo(x.data(), y.data(), result.data(), kBlock);
    } else {
      for (int32_t i = 0; i < kBlock; ++i)
        x[i] = std::bit_cast<float>(
            static_cast<uint32_t>((block * kBlock + static_cast<uint64_t>(i)) * stride));
      function.ofOne(x.data(), result.data(), kBlock);
    }
    for (int32_t i = 0; i < kBlock; ++i) {
      const long double reference = function.reference(x[i], y[i]);
      const auto nearest = static_cast<float>(reference);
      if (std::isnan(reference) || std::isnan(result[i]) || std::isinf(reference)) {
        const bool isSame = std::isnan(reference) ? std::isnan(result[i]) : result[i] == nearest;
        figures.wrongSpecials += isSame ? 0 : 1;
        continue;
      }
      const double error = ErrorInUlps(result[i], reference);
      if (error > figures.all.largest) {
        figures.worst[0] = x[i];
        figures.worst[1] = y[i];
      }
      figures.all.Add(error);
      figures.notNearest += result[i] != nearest ? 1 : 0;
      const float plotted = function.ofTwo != nullptr ? nearest : x[i];
      const int exponent = plotted == 0.0F ? -150 : std::ilogb(plotted);
      figures.byBinade[std::signbit(plotted) ? exponent - 1000 : exponent].Add(error);
    }
    figures.referenceError = std::max(
        figures.referenceError,
        std::isfinite(x[0]) && std::isfinite(function.reference(x[0], y[0]))
            ? RelativeErrorOfReference(function, x[0], y[0], function.reference(x[0], y[0]))
            : 0.0);
  }
  return figures;
}

void WriteBinades(const std::string& path, const Figures& figures) {
  std::FILE* const file = std::fopen(path.c_str(), "w");
  if (file == nullptr) {
    std::perror(path.c_str());
    std::exit(1);
  }
  std::fputs("sign\texponent\tlargest\tmean\n", file);
  for (const auto& [binade, errors] : figures.byBinade) {
    const bool isNegative = binade < -500;
    std::fprintf(file, "%c\t%d\t%.6f\t%.6f\n", isNegative ? '-' : '+',
                 isNegative ? binade + 1000 : binade, errors.largest,
                 errors.sum / static_cast<double>(errors.count));
  }
  std::fclose(file);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const uint64_t stride = argumentCount > 1 ? std::strtoull(arguments[1], nullptr, 10) : 1009;
  if (stride == 0) {
    std::fputs("math_accuracy [STRIDE [DIRECTORY]]\n", stderr);
    return 1;
  }
  const uint64_t blocksOfFloats = (uint64_t{1} << 32) / stride / kBlock;
  const uint64_t blocksOfPairs = std::min<uint64_t>(blocksOfFloats, 100000000 / kBlock + 1);
  const unsigned threadCount = std::max(1U, std::thread::hardware_concurrency());
  std::printf("%-16s %12s %10s %10s %14s  %s\n", "function", "arguments", "largest", "mean",
              "not nearest", "largest at");
  for (const Function& function : kFunctions) {
    const uint64_t blocks = function.ofTwo != nullptr ? blocksOfPairs : blocksOfFloats;
    std::vector<Figures> parts(threadCount);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < threadCount; ++t)
      threads.emplace_back(
          [&, t] { parts[t] = Measure(function, t, threadCount, blocks, stride); });
    Figures figures;
    for (unsigned t = 0; t < threadCount; ++t) {
      threads[t].join();
      figures.Add(parts[t]);
    }
    std::printf("%-16s %12" PRIu64 " %10.6f %10.6f %14" PRIu64 "  %a", function.name,
                figures.all.count, figures.all.largest,
                figures.all.sum / static_cast<double>(figures.all.count), figures.notNearest,
                static_cast<double>(figures.worst[0]));
    if (function.ofTwo != nullptr) std::printf(", %a", static_cast<double>(figures.worst[1]));
    std::printf("\n%-16s reference within %.2g of MPFR, %" PRIu64 " wrong specials\n", "",
                figures.referenceError, figures.wrongSpecials);
    std::fflush(stdout);
    if (argumentCount > 2)
      WriteBinades(std::string(arguments[2]) + "/" + function.name + ".tsv", figures);
  }
  return 0;
}
