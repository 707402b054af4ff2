#include "tests/popfilter/reference_filter.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>

namespace zr::test {
namespace {

// A store, so that the x87 rounds here and not some time later.
float Single(double value) {
  volatile auto rounded = static_cast<float>(value);
  return rounded;
}

// Plain sums: samples are multiples of 2^-15, so that these are exact in any order.
double Deviation(const double* values, int32_t count) {
  if (count < 2) return 0.0;
  double sum = 0.0;
  double squares = 0.0;
  for (int32_t k = 0; k < count; ++k) {
    sum += values[k];
    squares += values[k] * values[k];
  }
  const double spread = count * squares - sum * sum;
  return spread > 0.0 ? Single(std::sqrt(spread / (static_cast<double>(count) * (count - 1))))
                      : 0.0;
}

int16_t ToSample(double prediction) {
  const double scaled = prediction * 32768.0;
  // The default rounding of the processor is to nearest with ties to even.
  return static_cast<int16_t>(std::nearbyint(std::clamp(scaled, -32768.0, 32767.0)));
}

enum class Phase { kRefill, kTrain, kWatch };

}  // namespace

ReferenceResult ReferenceFiltered(const ReferenceSettings& settings,
                                  const std::vector<int16_t>& stream) {
  const int32_t order = settings.order;
  const int32_t delay = settings.delay;
  const int32_t lead = order + delay;
  // All positions at once: `lead` zeros of history, then the stream.
  std::vector<double> samples(static_cast<std::size_t>(lead), 0.0);
  for (const int16_t sample : stream)
    samples.push_back(sample / 32768.0);

  std::vector<float> coefs(static_cast<std::size_t>(order), 0.0F);
  float energy = 0.0F;
  Phase phase = Phase::kRefill;
  int32_t count = 24;

  const auto restart = [&] {
    phase = Phase::kRefill;
    count = order + settings.settle;
  };

  for (std::size_t i = 0; i < stream.size(); ++i) {
    const double* const window = samples.data() + i;
    double& tested = samples[i + static_cast<std::size_t>(order)];
    const auto input = [&](int32_t k) { return window[order - 1 - k]; };

    const float newestSquare = Single(input(0) * input(0));
    const float inputEnergy = Single(static_cast<double>(energy) + newestSquare);
    energy = Single(inputEnergy - window[0] * window[0]);

    double sum = 0.0;
    for (int32_t k = 0; k < order; ++k) {
      sum += static_cast<double>(coefs[static_cast<std::size_t>(k)]) * input(k);
    }
    const float prediction = Single(sum);
    const float error = Single(tested - prediction);

    const auto learn = [&] {
      const float regularised = Single(static_cast<double>(inputEnergy) + 0.001F);
      const float reciprocal = Single(1.0 / regularised);
      const float gain = Single(
          static_cast<double>(Single(static_cast<double>(settings.step) * reciprocal)) * error);
      for (int32_t k = 0; k < order; ++k) {
        float& coef = coefs[static_cast<std::size_t>(k)];
        coef = Single(static_cast<double>(coef) + Single(input(k) * gain));
      }
    };

    if (phase == Phase::kRefill) {
      if (--count <= settings.settle) {
        double fresh = 0.0;
        for (int32_t k = 0; k < order - 1; ++k)
          fresh += input(k) * input(k);
        energy = Single(fresh);
        phase = Phase::kTrain;
      }
      continue;
    }
    if (phase == Phase::kTrain) {
      learn();
      if (--count == 0) phase = Phase::kWatch;
      continue;
    }

    const double deviation =
        std::max(Deviation(window, order), Deviation(window + order + 2, delay - 2));
    const double distance = std::fabs(error);
    const bool isLoud =
        distance > deviation * settings.slope + settings.floor || distance > settings.ceiling;
    const bool overshoots =
        (tested > 0.0 && prediction < tested) || (tested < 0.0 && prediction > tested);
    const double gap = std::fabs((window[order - 1] + window[order + 1]) / 2.0 - tested);
    const double span = std::fabs(window[order + 1] - window[order - 1]);
    const bool standsOut = gap > settings.floor || span > 0.4;
    const bool needsOvershoot = settings.mode == 1 || settings.mode == 3;
    const bool needsStandOut = settings.mode == 2 || settings.mode == 3;
    if (isLoud && (overshoots || !needsOvershoot) && (standsOut || !needsStandOut)) {
      tested = ToSample(prediction) / 32768.0;
      if (++count >= 2) {
        restart();
        std::fill(coefs.begin(), coefs.end(), 0.0F);
      }
      continue;
    }
    learn();
    if (count != 0) restart();
  }

  ReferenceResult result = {{}, coefs};
  for (std::size_t i = 0; i < stream.size(); ++i) {
    result.output.push_back(
        static_cast<int16_t>(samples[i + static_cast<std::size_t>(order)] * 32768.0));
  }
  return result;
}

}  // namespace zr::test
