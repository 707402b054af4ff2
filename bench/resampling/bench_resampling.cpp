// Changes of the sampling rate against libsamplerate, speexdsp, soxr and the plainest loop: 16-bit
// samples in and out, a second of a stream at a time. Of each library that setting is timed which
// attenuates as much as ours or less; before the report the program tells what it measured.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "bench/filters/contender.h"
#include "bench/primitives/plain.h"
#include "bench/resampling/stopband.h"
#include "bench/resampling/stream.h"
#include "primitives/filters/resampling.h"

namespace zr::bench {
namespace {

using MakeStream = std::function<std::unique_ptr<ResamplingStream>()>;

std::vector<int16_t> Noise(int32_t count) {
  std::vector<int16_t> samples(static_cast<std::size_t>(count));
  uint32_t state = 1;
  for (int16_t& sample : samples) {
    state = state * 1664525U + 1013904223U;
    sample = static_cast<int16_t>(static_cast<int32_t>(state >> 17) - 16384);
  }
  return samples;
}

struct Conversion {
  Rates rates;
  FilterDesign design;

  [[nodiscard]] std::string Row() const {
    return std::to_string(rates.in) + "_to_" + std::to_string(rates.out) +
           (design.hasFloatTaps ? "/float_taps" : "/integer_taps");
  }
};

/// Outputs for a second of noise that arrives in three parts.
std::vector<int16_t> Outputs(const Rates& rates, ResamplingStream& stream) {
  const std::vector<int16_t> samples = Noise(rates.in);
  std::vector<int16_t> outputs(static_cast<std::size_t>(2 * rates.out));
  int32_t put = 0;
  int32_t taken = 0;
  for (const int32_t end : {1001, 1003, rates.in}) {
    put += stream.Run(samples.data() + taken, end - taken, outputs.data() + put);
    taken = end;
  }
  outputs.resize(static_cast<std::size_t>(put));
  return outputs;
}

void RegisterStream(const Conversion& conversion, const std::string& name, const MakeStream& make,
                    const std::function<bool()>& isRight) {
  const Rates rates = conversion.rates;
  RegisterContender(conversion.Row(), name, rates.out, [rates, make, isRight] {
    const std::shared_ptr<ResamplingStream> stream = make();
    const auto samples = std::make_shared<const std::vector<int16_t>>(Noise(rates.in));
    const auto outputs =
        std::make_shared<std::vector<int16_t>>(static_cast<std::size_t>(2 * rates.out));
    const auto run = [=] { stream->Run(samples->data(), rates.in, outputs->data()); };
    return Contender{.run = run, .isRight = isRight};
  });
}

void Print(const Conversion& conversion, const std::string& name, const Response& response) {
  std::printf("%s: %s: stopband %.1f dB down, edge of the band %.2f dB, middle %.3f dB\n",
              conversion.Row().c_str(), name.c_str(), response.stopband, response.edge,
              response.middle);
}

struct Choice {
  Setting setting;
  Response response;
};

/// The lowest quality of those that attenuate no more than ours does. A few decibels among them
/// make no difference: they differ in how near the stopband begins.
std::optional<Choice> ChooseSetting(const Peer& peer, const Rates& rates, const ToneTest& test,
                                    double ourStopband) {
  constexpr double kAsGood = 6.0;
  std::vector<Choice> choices;
  double best = 0.0;
  for (const Setting& setting : peer.settings) {
    const Response response = test.Measure([&] { return setting.make(rates, setting.quality); });
    if (response.stopband > ourStopband) break;
    choices.push_back({setting, response});
    best = std::max(best, response.stopband);
  }
  for (const Choice& choice : choices) {
    if (choice.response.stopband >= best - kAsGood) return choice;
  }
  return std::nullopt;
}

void RegisterConversion(const Conversion& conversion, const ToneTest& test) {
  const Rates rates = conversion.rates;
  const FilterDesign design = conversion.design;
  const MakeStream ours = [=] { return OurStream(rates, design); };
  const MakeStream plain = [=] { return PlainStream(rates, design); };
  const auto agree = [=] { return Outputs(rates, *ours()) == Outputs(rates, *plain()); };
  RegisterStream(conversion, "ours", ours, agree);
  RegisterStream(conversion, "plain", plain, agree);

  const Response response = test.Measure(ours);
  Print(conversion, "ours", response);
  for (const Peer& peer : ResamplingPeers()) {
    const auto choice = ChooseSetting(peer, rates, test, response.stopband);
    if (!choice) {
      std::printf("%s: %s has no setting that attenuates as little\n", conversion.Row().c_str(),
                  peer.name.c_str());
      continue;
    }
    const Setting setting = choice->setting;
    Print(conversion, peer.name + ", " + setting.name, choice->response);
    const bool isRight = std::fabs(choice->response.middle) < 0.01;
    RegisterStream(
        conversion, peer.name, [=] { return setting.make(rates, setting.quality); },
        [isRight] { return isRight; });
  }
}

using ChangeOfRate = int32_t (*)(const int16_t*, int32_t, int16_t*, int32_t*, int32_t, int32_t*);

struct RateChangeResult {
  std::vector<int16_t> samples;
  int32_t count = 0;
  int32_t phase = 1;
  bool operator==(const RateChangeResult&) const = default;
};

constexpr int32_t kFactor = 3;
constexpr int32_t kLength = 3000;

void RegisterChangeOfRate(const std::string& row, const std::string& name, ChangeOfRate change,
                          ChangeOfRate plain) {
  RegisterContender(row, name, kLength, [change, plain] {
    const auto samples = std::make_shared<const std::vector<int16_t>>(Noise(kLength));
    const auto resultOf = [samples](ChangeOfRate function) {
      RateChangeResult result = {.samples = std::vector<int16_t>(kFactor * kLength)};
      function(samples->data(), kLength, result.samples.data(), &result.count, kFactor,
               &result.phase);
      return result;
    };
    const auto result = std::make_shared<RateChangeResult>(resultOf(change));
    const auto run = [=] {
      change(samples->data(), kLength, result->samples.data(), &result->count, kFactor,
             &result->phase);
    };
    return Contender{.run = run, .isRight = [=] { return *result == resultOf(plain); }};
  });
}

[[maybe_unused]] const bool kAreRowsRegistered = [] {
  struct Band {
    Rates rates;
    int32_t lengthUnit;  ///< How many input samples are one of the lower rate.
  };
  for (const Band& band : {Band{{44100, 48000}, 1}, Band{{48000, 16000}, 3}}) {
    const ToneTest test(band.rates);
    // 110 dB and what 14 bits of fraction allow, from nine to eleven tenths of half the lower rate.
    RegisterConversion({band.rates, {76 * band.lengthUnit, 11.0F, true}}, test);
    RegisterConversion({band.rates, {52 * band.lengthUnit, 8.0F, false}}, test);
  }
  RegisterChangeOfRate("ippsSampleUp_16s", "ours", &::ippsSampleUp_16s, &plain::ippsSampleUp_16s);
  RegisterChangeOfRate("ippsSampleUp_16s", "plain", &plain::ippsSampleUp_16s,
                       &plain::ippsSampleUp_16s);
  RegisterChangeOfRate("ippsSampleDown_16s", "ours", &::ippsSampleDown_16s,
                       &plain::ippsSampleDown_16s);
  RegisterChangeOfRate("ippsSampleDown_16s", "plain", &plain::ippsSampleDown_16s,
                       &plain::ippsSampleDown_16s);
  return true;
}();

}  // namespace
}  // namespace zr::bench
