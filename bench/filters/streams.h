// The contenders of bench_filters: streams that take the same block again and again. The filters of
// one row get the same set-up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace zr::bench {

/// Takes the next block, and returns what came of it until the next call.
using Stream = std::function<std::span<const std::byte>()>;

template <typename Element>
std::shared_ptr<std::vector<Element>> SharedBuffer(std::size_t length) {
  return std::make_shared<std::vector<Element>>(length);
}

template <typename Element>
std::span<const std::byte> BytesOf(const std::vector<Element>& elements) {
  return std::as_bytes(std::span(elements));
}

using Samples = std::shared_ptr<const std::vector<int16_t>>;

struct IirSetUp {
  std::vector<float> b;
  std::vector<float> a;  ///< a[0] is 1.
};

struct LmsSetUp {
  int32_t taps;
  float mu;
  Samples reference;
};

/// The taps of both bands are as many, and an even number.
struct WaveletSetUp {
  std::vector<float> low;
  std::vector<float> high;
};

struct Bands {
  std::vector<float> low;
  std::vector<float> high;
};

/// Frames of 8 ms.
constexpr int32_t kNoiseRate = 16000;
constexpr int32_t kNoiseFrame = 256;
constexpr std::size_t kNoiseBins = kNoiseFrame / 2 + 1;

/// The power spectra of frames, one behind the other.
using Spectra = std::shared_ptr<const std::vector<int32_t>>;

Stream OurIir(const IirSetUp& setUp, const Samples& block);
Stream OurIirInPlace(const IirSetUp& setUp, const Samples& block);
Stream OurIirOf32s(const IirSetUp& setUp, const Samples& block);
Stream OurLms(const LmsSetUp& setUp, const Samples& block);
Stream OurAnalysis(const WaveletSetUp& setUp, const Samples& block);
Stream OurSynthesis(const WaveletSetUp& setUp, const std::shared_ptr<const Bands>& block);
Stream OurNoiseTracker(const Spectra& frames);

// The plainest loops, with the primitives' results.
Stream PlainIir(const IirSetUp& setUp, const Samples& block);
Stream PlainLms(const LmsSetUp& setUp, const Samples& block);
Stream PlainAnalysis(const WaveletSetUp& setUp, const Samples& block);
Stream PlainSynthesis(const WaveletSetUp& setUp, const std::shared_ptr<const Bands>& block);
Stream PlainNoiseTracker(const Spectra& frames);

// liquid-dsp, which filters floats; the conversions around it are our primitives.
Stream LiquidIir(const IirSetUp& setUp, const Samples& block);
Stream LiquidLms(const LmsSetUp& setUp, const Samples& block);

}  // namespace zr::bench
