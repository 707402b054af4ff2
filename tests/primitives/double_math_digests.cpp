// Powers, exponentials and logarithms over the ranges where their results are neither infinite nor
// 0, with a few special numbers among them.
#include <bit>
#include <cmath>

#include "primitives/math/double_math.h"
#include "primitives/math/elementary_functions.h"
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

void PrintDoubleMathDigests() {
  constexpr int32_t kCount = 200003;
  RandomElements random(7, true);
  std::vector<double> exponents(kCount);
  std::vector<double> bases(kCount);
  std::vector<double> powers(kCount);
  std::vector<float> singles(kCount);
  std::vector<float> positives(kCount);
  std::vector<Complex32f> numbers(kCount);
  for (int32_t i = 0; i < kCount; ++i) {
    const int64_t fraction = static_cast<int64_t>(random.Bits()) >> 11;  // Exact as a double.
    exponents[i] = std::ldexp(static_cast<double>(fraction) * 0x1.78p-43,
                              i % 3 == 0 ? -static_cast<int>(random.Bits() % 60) : 0);
    // Bases anywhere, subnormal ones too, with exponents to fit, or close to 1 with larger ones.
    bases[i] = std::bit_cast<double>(random.Bits() >> 1);
    powers[i] = exponents[i] * 0x1p-10;
    if (i % 2 == 0) {
      const int exponent = static_cast<int>(random.Bits() % 52);
      bases[i] = 1.0 + std::ldexp(1.0, exponent - 52);
      powers[i] = std::ldexp(exponents[i], 51 - exponent);
    }
    if (i % 64 == 0) bases[i] = random.Next<double>();
    singles[i] = static_cast<float>(exponents[i] / 7.0);
    positives[i] = std::bit_cast<float>(static_cast<uint32_t>(random.Bits() >> 33));
    numbers[i] = {singles[i], i % 2 == 0 ? positives[i] : singles[kCount - 1 - i]};
  }

  std::vector<double> wide(kCount);
  std::vector<float> results(kCount);
  const auto print = [](const char* name, int32_t status, const auto& values) {
    Digest digest;
    digest.Add(status);
    digest.Add(values);
    digest.Print(name);
  };
  const double* const x = exponents.data();
  double* const d = wide.data();
  float* const f = results.data();
  print("ippsPow_64f, in range", ippsPow_64f(bases.data(), powers.data(), d, kCount), wide);
  print("ippsExpAccurate_64f, in range", ippsExpAccurate_64f(x, d, kCount), wide);
  print("ippsExp_64f, in range", ippsExp_64f(x, d, kCount), wide);
  print("ippsExp_32f, in range", ippsExp_32f(singles.data(), f, kCount), results);
  for (int32_t i = 0; i < kCount; ++i) {
    ippsExp_64f(x + i, d + i, 1);
    ippsExp_32f(&singles[i], f + i, 1);
  }
  print("ippsExp_64f, alone", 0, wide);
  print("ippsExp_32f, alone", 0, results);
  print("ippsLn_32f, all binades", ippsLn_32f(positives.data(), f, kCount), results);
  print("ippsPhase_32fc, all binades", ippsPhase_32fc(numbers.data(), f, kCount), results);
}

}  // namespace zr::test
