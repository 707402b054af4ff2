// Recursive and adaptive filters, the wavelet transform and noise suppression against the plainest
// loop for the same bits, and where it has the like, against liquid-dsp.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#include "bench/filters/contender.h"
#include "bench/filters/streams.h"
#include "bench/primitives/plain.h"
#include "primitives/filters/noise_suppression.h"

namespace zr::bench {
namespace {

constexpr int32_t kBlock = 4000;

using MakeStream = std::function<Stream()>;

Samples Noise() {
  std::minstd_rand random(1);
  std::uniform_int_distribution<int32_t> distribution(-16000, 16000);
  std::vector<int16_t> samples(kBlock);
  for (int16_t& sample : samples) {
    sample = static_cast<int16_t>(distribution(random));
  }
  return std::make_shared<const std::vector<int16_t>>(samples);
}

/// Four blocks: a window of the noise tracker ends in the second.
bool AreAlike(const Stream& a, const Stream& b,
              const std::function<bool(std::span<const std::byte>, std::span<const std::byte>)>&
                  areOutputsAlike) {
  for (int i = 0; i < 4; ++i) {
    if (!areOutputsAlike(a(), b())) return false;
  }
  return true;
}

bool IsSame(std::span<const std::byte> a, std::span<const std::byte> b) {
  return std::ranges::equal(a, b);
}

std::vector<int16_t> SamplesOf(std::span<const std::byte> bytes) {
  std::vector<int16_t> samples(bytes.size() / sizeof(int16_t));
  std::memcpy(samples.data(), bytes.data(), bytes.size());
  return samples;
}

/// As near as filters in single precision come.
bool IsNear(std::span<const std::byte> a, std::span<const std::byte> b) {
  const auto isNear = [](int32_t x, int32_t y) { return std::abs(x - y) <= 2; };
  return std::ranges::equal(SamplesOf(a), SamplesOf(b), isNear);
}

void RegisterStream(const std::string& row, const std::string& name, int32_t elements,
                    const MakeStream& make, const std::function<bool()>& isRight) {
  RegisterContender(row, name, elements, [=] {
    const Stream stream = make();
    return Contender{.run = [stream] { benchmark::DoNotOptimize(stream()); }, .isRight = isRight};
  });
}

void RegisterPair(const std::string& row, int32_t elements, const MakeStream& ours,
                  const MakeStream& plain) {
  const auto isRight = [=] { return AreAlike(ours(), plain(), &IsSame); };
  RegisterStream(row, "ours", elements, ours, isRight);
  RegisterStream(row, "plain", elements, plain, isRight);
}

/// A Butterworth low-pass of an even order, in sections of order 2, multiplied out.
IirSetUp ButterworthLowPass(int32_t order, double cutoff) {
  std::vector<double> b = {1.0};
  std::vector<double> a = {1.0};
  const auto multiply = [](std::vector<double>* product, const std::array<double, 3>& section) {
    std::vector<double> sum(product->size() + 2);
    for (std::size_t i = 0; i < product->size(); ++i) {
      for (std::size_t k = 0; k < section.size(); ++k) {
        sum[i + k] += (*product)[i] * section[k];
      }
    }
    *product = sum;
  };
  const double w = std::tan(std::numbers::pi * cutoff);
  for (int32_t i = 0; i < order / 2; ++i) {
    const double damping = 2.0 * std::sin(std::numbers::pi * (2 * i + 1) / (2.0 * order));
    const double a0 = 1.0 + damping * w + w * w;
    multiply(&b, {w * w / a0, 2.0 * w * w / a0, w * w / a0});
    multiply(&a, {1.0, 2.0 * (w * w - 1.0) / a0, (1.0 - damping * w + w * w) / a0});
  }
  return {.b = {b.begin(), b.end()}, .a = {a.begin(), a.end()}};
}

void RegisterIir(int32_t order) {
  const IirSetUp setUp = ButterworthLowPass(order, 0.2);
  const Samples block = Noise();
  const std::string suffix = "/order_" + std::to_string(order);
  const MakeStream ours = [=] { return OurIir(setUp, block); };
  const MakeStream plain = [=] { return PlainIir(setUp, block); };
  const MakeStream liquid = [=] { return LiquidIir(setUp, block); };
  RegisterPair("ippsIIR32f_16s_Sfs" + suffix, kBlock, ours, plain);
  RegisterStream("ippsIIR32f_16s_Sfs" + suffix, "liquid", kBlock, liquid,
                 [=] { return AreAlike(ours(), liquid(), &IsNear); });
  RegisterPair(
      "ippsIIR32f_16s_ISfs" + suffix, kBlock, [=] { return OurIirInPlace(setUp, block); }, plain);
  RegisterPair(
      "ippsIIR32s_16s_Sfs" + suffix, kBlock, [=] { return OurIirOf32s(setUp, block); }, plain);
}

/// What an unknown system of as many taps makes of a block that comes again and again.
Samples SystemOutput(const Samples& block, int32_t taps) {
  std::vector<int16_t> outputs(block->size());
  for (std::size_t n = 0; n < outputs.size(); ++n) {
    double sum = 0.0;
    for (int32_t j = 0; j < taps; ++j) {
      const std::size_t place = (n + outputs.size() - static_cast<std::size_t>(j)) % outputs.size();
      sum += 0.25 * std::cos(j) * std::exp(-8.0 * j / taps) * (*block)[place];
    }
    outputs[n] = static_cast<int16_t>(std::lround(sum));
  }
  return std::make_shared<const std::vector<int16_t>>(outputs);
}

/// Whether it makes the system's output, to a thousandth of its power, in the end.
bool LearnsSystem(const Stream& stream, const Samples& reference) {
  for (int i = 0; i < 30; ++i) {
    stream();
  }
  const std::vector<int16_t> outputs = SamplesOf(stream());
  double power = 0.0;
  double errorPower = 0.0;
  for (std::size_t n = 0; n < outputs.size(); ++n) {
    const double wanted = (*reference)[n];
    power += wanted * wanted;
    errorPower += (wanted - outputs[n]) * (wanted - outputs[n]);
  }
  return errorPower < 1e-3 * power;
}

void RegisterLms(int32_t taps) {
  constexpr double kMeanSquare = 16000.0 * 16000.0 / 3.0;
  const Samples block = Noise();
  const LmsSetUp setUp = {.taps = taps,
                          .mu = static_cast<float>(0.05 / (taps * kMeanSquare)),
                          .reference = SystemOutput(block, taps)};
  const std::string row = "ippsFIRLMS32f_16s/" + std::to_string(taps) + "_taps";
  const MakeStream ours = [=] { return OurLms(setUp, block); };
  const MakeStream plain = [=] { return PlainLms(setUp, block); };
  const MakeStream liquid = [=] { return LiquidLms(setUp, block); };
  const auto isRight = [=] {
    return AreAlike(ours(), plain(), &IsSame) && LearnsSystem(ours(), setUp.reference);
  };
  RegisterStream(row, "ours", kBlock, ours, isRight);
  RegisterStream(row, "plain", kBlock, plain, isRight);
  RegisterStream(row, "liquid", kBlock, liquid,
                 [=] { return LearnsSystem(liquid(), setUp.reference); });
}

void RegisterWavelet() {
  const WaveletSetUp daubechies = {
      .low = {-0.010597402F, 0.032883012F, 0.030841382F, -0.187034812F, -0.027983769F, 0.630880768F,
              0.714846571F, 0.230377813F},
      .high = {-0.230377813F, 0.714846571F, -0.630880768F, -0.027983769F, 0.187034812F,
               0.030841382F, -0.032883012F, -0.010597402F}};
  const Samples block = Noise();
  RegisterPair(
      "ippsWTFwd_16s32f/8_taps", kBlock, [=] { return OurAnalysis(daubechies, block); },
      [=] { return PlainAnalysis(daubechies, block); });
  const auto middle = block->begin() + kBlock / 2;
  const auto bands = std::make_shared<const Bands>(
      Bands{.low = {block->begin(), middle}, .high = {middle, block->end()}});
  RegisterPair(
      "ippsWTInv_32f16s/8_taps", kBlock, [=] { return OurSynthesis(daubechies, bands); },
      [=] { return PlainSynthesis(daubechies, bands); });
}

/// Numbers over many octaves, up to `most`.
std::shared_ptr<const std::vector<int32_t>> OverOctaves(std::size_t count, double most) {
  std::minstd_rand random(2);
  std::uniform_real_distribution<double> octaves(0.0, std::log2(most));
  std::vector<int32_t> numbers(count);
  for (int32_t& number : numbers) {
    number = static_cast<int32_t>(std::exp2(octaves(random)));
  }
  return std::make_shared<const std::vector<int32_t>>(numbers);
}

void RegisterNoiseSuppression() {
  constexpr std::size_t kFrames = 100;
  const Spectra frames = OverOctaves(kFrames * kNoiseBins, 0x1p30);
  RegisterPair(
      "ippsUpdateNoisePSDMCRA_32s_I", kFrames * kNoiseBins, [=] { return OurNoiseTracker(frames); },
      [=] { return PlainNoiseTracker(frames); });

  constexpr int32_t kGains = 1000;
  const auto ratios = OverOctaves(kGains, 0x1p30);
  const auto wienerGains = OverOctaves(kGains, 0x7fffffff);
  const auto wiener = [=](auto* update) {
    return [=] {
      const auto gains = SharedBuffer<int32_t>(kGains);
      return [=] {
        update(ratios->data(), gains->data(), kGains);
        return BytesOf(*gains);
      };
    };
  };
  const auto ephraimMalah = [=](auto* update) {
    return [=] {
      const auto gains = SharedBuffer<int32_t>(kGains);
      return [=] {
        update(wienerGains->data(), ratios->data(), gains->data(), kGains);
        return BytesOf(*gains);
      };
    };
  };
  RegisterPair("ippsFilterUpdateWiener_32s", kGains, wiener(&::ippsFilterUpdateWiener_32s),
               wiener(&plain::ippsFilterUpdateWiener_32s));
  RegisterPair("ippsFilterUpdateEMNS_32s", kGains, ephraimMalah(&::ippsFilterUpdateEMNS_32s),
               ephraimMalah(&plain::ippsFilterUpdateEMNS_32s));
}

[[maybe_unused]] const bool kAreRowsRegistered = [] {
  RegisterIir(2);
  RegisterIir(8);
  RegisterLms(32);
  RegisterLms(128);
  RegisterWavelet();
  RegisterNoiseSuppression();
  return true;
}();

}  // namespace
}  // namespace zr::bench
