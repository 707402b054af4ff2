#include "bench/resampling/stopband.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

namespace zr::bench {
namespace {

constexpr double kEdgeOfBand = 0.9;
constexpr int kTones = 40;
constexpr int32_t kSettling = 4096;     // Outputs.
constexpr int32_t kWindow = 16384;      // Outputs.
constexpr int32_t kHeldBack = 12000;    // Inputs that a stream may not have answered yet.
constexpr double kAmplitude = 16000.0;  // Of each of two tones.

/// Where a frequency is found in a signal of a rate.
double Folded(double frequency, double rate) {
  const double within = std::fmod(frequency, rate);
  return std::min(within, rate - within);
}

/// The eighth power of a sine: 20 lines from a tone its side lobes are 150 dB down.
const std::vector<double>& Window() {
  static const std::vector<double> window = [] {
    std::vector<double> weights(kWindow);
    for (int32_t n = 0; n < kWindow; ++n) {
      weights[static_cast<std::size_t>(n)] =
          std::pow(std::sin(std::numbers::pi * (n + 0.5) / kWindow), 8);
    }
    return weights;
  }();
  return window;
}

/// The amplitude at one frequency, as a part of kAmplitude.
double Strength(const int16_t* samples, double cyclesPerSample) {
  constexpr double kMeanOfWindow = 35.0 / 128.0;
  const std::complex<double> turn = std::polar(1.0, -2.0 * std::numbers::pi * cyclesPerSample);
  std::complex<double> phase = 1.0;
  std::complex<double> sum = 0.0;
  for (const double weight : Window()) {
    sum += weight * *samples++ * phase;
    phase *= turn;
  }
  return 2.0 * std::abs(sum) / (kWindow * kMeanOfWindow * kAmplitude);
}

double InDecibels(double strength) {
  return 20.0 * std::log10(strength);
}

double LowerOf(const Rates& rates) {
  return std::min(rates.in, rates.out);
}

}  // namespace

ToneTest::ToneTest(const Rates& rates) : rates_(rates), lowTone_(0.0051 * LowerOf(rates)) {
  const double lower = LowerOf(rates);
  const double edge = kEdgeOfBand * lower / 2.0;
  const bool isUpward = rates.out > rates.in;
  for (int i = 0; i < kTones; ++i) {
    // Up to the edge of the band, at odd distances from all that is a round number.
    const double frequency = edge * (1.0 - 0.95 * (i + 0.0618) / kTones);
    const double below = lower - frequency;
    const double above = lower + frequency;
    if (isUpward) {
      const std::vector images = {Folded(below, rates.out), Folded(above, rates.out)};
      beyondBand_.push_back(MakeProbe(frequency, images));
    } else {
      beyondBand_.push_back(MakeProbe(below, {frequency}));
      beyondBand_.push_back(MakeProbe(above, {frequency}));
    }
  }
  edge_ = MakeProbe(edge, {edge});
  middle_ = MakeProbe(edge / 2.0, {edge / 2.0});
}

/// A low tone is in all of the signals. It keeps the rounding to 16 bits from swallowing what is
/// weaker than a step. Places too close to another tone are not looked at.
ToneTest::Probe ToneTest::MakeProbe(double tone, const std::vector<double>& places) const {
  const double outputs = kSettling + kWindow;
  const double ratio = static_cast<double>(rates_.in) / rates_.out;
  Probe probe;
  probe.samples.resize(static_cast<std::size_t>(outputs * ratio) + kHeldBack);
  double time = 0.0;
  for (int16_t& sample : probe.samples) {
    const double sum = std::sin(lowTone_ * time) + std::sin(tone * time);
    sample = static_cast<int16_t>(std::lround(kAmplitude * sum));
    time += 2.0 * std::numbers::pi / rates_.in;
  }
  const double tooClose = 40.0 * rates_.out / kWindow;
  for (const double place : places) {
    const bool isClear = place == tone || std::fabs(place - tone) > tooClose;
    if (isClear && std::fabs(place - lowTone_) > tooClose) probe.places.push_back(place);
  }
  return probe;
}

double ToneTest::Strongest(const Probe& probe, ResamplingStream& stream) const {
  const auto count = static_cast<int32_t>(probe.samples.size());
  std::vector<int16_t> outputs(probe.samples.size() * 2);
  if (stream.Run(probe.samples.data(), count, outputs.data()) < kSettling + kWindow) return 0.0;
  double strongest = 0.0;
  for (const double place : probe.places) {
    strongest = std::max(strongest, Strength(outputs.data() + kSettling, place / rates_.out));
  }
  return strongest;
}

Response ToneTest::Measure(const std::function<std::unique_ptr<ResamplingStream>()>& make) const {
  double strongest = 0.0;
  for (const Probe& probe : beyondBand_) {
    strongest = std::max(strongest, Strongest(probe, *make()));
  }
  return {.stopband = -InDecibels(strongest),
          .edge = InDecibels(Strongest(edge_, *make())),
          .middle = InDecibels(Strongest(middle_, *make()))};
}

}  // namespace zr::bench
