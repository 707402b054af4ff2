// Suppresses the noise of one channel of speech, in frames that overlap by half: a transform, the
// power of the noise in each bin, a gain from its ratios to the power of the frame, and back.
#pragma once

#include <primitives/primitives.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <vector>

enum class GainRule { kWiener, kEphraimMalah };

class NoiseSuppressor {
 public:
  NoiseSuppressor(int32_t sampleRate, GainRule rule)
      : rule_(rule),
        framesPerUpdate_(1 + (sampleRate - 1) / kHighestTrackedRate),
        length_(FrameLength(sampleRate)) {
    RealFft32f* transform = nullptr;
    Check(ippsFFTInitAlloc_R_32f(&transform, std::countr_zero(static_cast<uint32_t>(length_)),
                                 FFT_DIV_BY_SQRTN, 0));
    transform_.reset(transform);
    int32_t trackerBytes = 0;
    Check(ippsGetSizeMCRA_32s(length_, &trackerBytes));
    tracker_.resize(static_cast<std::size_t>(trackerBytes));
    // The times of its averages are right where its frames come as fast as this rate tells. Below
    // 8 kHz, the lowest it knows, it is slower in proportion.
    const int32_t trackedRate = std::max(sampleRate / framesPerUpdate_, 8000);
    Check(ippsInitMCRA_32s(trackedRate, length_, Tracker()));

    // Each frame is weighted before the transform and behind it: the squares of two halves add up
    // to 1.
    for (int32_t i = 0; i < length_; ++i)
      window_[i] = static_cast<float>(std::sin(std::numbers::pi * (i + 0.5) / length_));
    const double seconds = 0.5 * length_ * framesPerUpdate_ / sampleRate;
    mostGrowth_ = static_cast<float>(std::pow(10.0, kMostGrowthPerSecond / 10.0 * seconds));
  }

  [[nodiscard]] int32_t Hop() const { return length_ / 2; }

  /// Replaces the next Hop() samples of a stream by the clean ones of the Hop() before them.
  void Process(float* samples) {
    const int32_t hop = Hop();
    ippsMove_32f(&frame_[hop], frame_.data(), hop);
    ippsCopy_32f(samples, &frame_[hop], hop);

    float* const points = &spectrum_[0].re;
    ippsMul_32f(frame_.data(), window_.data(), points, length_);
    Check(ippsFFTFwd_RToCCS_32f(points, points, transform_.get(), nullptr));
    ippsPowerSpectr_32fc(spectrum_.data(), power_.data(), bins_);
    ippsMulC_32f_I(kPowerUnits, power_.data(), bins_);
    if (frameCount_ % framesPerUpdate_ == 0) UpdateNoise();
    ++frameCount_;
    UpdateGain();

    ippsRealToCplx_32f(gain_.data(), nullptr, complexGain_.data(), bins_);
    ippsMul_32fc_I(complexGain_.data(), spectrum_.data(), bins_);
    Check(ippsFFTInv_CCSToR_32f(points, points, transform_.get(), nullptr));
    ippsMul_32f_I(window_.data(), points, length_);
    ippsAdd_32f(points, tail_.data(), samples, hop);
    ippsCopy_32f(points + hop, tail_.data(), hop);
  }

 private:
  struct FreeTransform {
    void operator()(RealFft32f* transform) const { ippsFFTFree_R_32f(transform); }
  };
  using Floats = std::vector<float>;
  using Words = std::vector<int32_t>;

  static constexpr int32_t kRoundToNearest = 1;
  static constexpr int32_t kRatioBits = 15;
  static constexpr int32_t kHighestTrackedRate = 48000;
  // White noise 80 dB below full scale is 3 of these units in each bin. Loud sound saturates,
  // and is as far above the noise as the rules look.
  static constexpr float kPowerUnits = 0x1p29F;
  static constexpr double kMostGrowthPerSecond = 70.0;  // dB
  static constexpr int32_t kLeastGain = 0x0ccccccd;     // 0.1 in Q31: noise keeps its sound

  static void Check(int32_t status) {
    if (status != 0) throw std::runtime_error(ippsGetStatusString(status));
  }

  /// A power of two of samples that last 16 to 32 ms, where the tracker has its best hop; less at
  /// rates so high that it would be longer than 2,048.
  static int32_t FrameLength(int32_t sampleRate) {
    const uint32_t shortest = static_cast<uint32_t>(sampleRate) / 63;
    return static_cast<int32_t>(std::clamp<uint32_t>(std::bit_ceil(shortest), 8, 2048));
  }

  NoiseTracker32s* Tracker() { return reinterpret_cast<NoiseTracker32s*>(tracker_.data()); }

  /// Where the search for minima begins. One frame scatters, and the noise of its low bins would
  /// pass for speech for two seconds: so the average over nine bins. Half of the frame is the
  /// silence before the stream: so twice as much.
  const Floats& FirstPower() {
    for (int32_t k = 0; k < bins_; ++k) {
      const int32_t first = std::max(k - 4, 0);
      ippsMean_32f(&power_[first], std::min(k + 5, bins_) - first, &prior_[k], 0);
    }
    ippsMulC_32f_I(2.0F, prior_.data(), bins_);
    return prior_;
  }

  /// The first frames of a loud sound reach the tracker's noise before it takes the sound for
  /// speech, and would stay there while it lasts. Real noise does not grow so fast.
  void UpdateNoise() {
    const Floats& power = frameCount_ == 0 ? FirstPower() : power_;
    ippsConvert_32f32s_Sfs(power.data(), words_.data(), bins_, kRoundToNearest, 0);
    Check(ippsUpdateNoisePSDMCRA_32s_I(words_.data(), Tracker(), noiseWords_.data()));
    ippsMulC_32f_I(mostGrowth_, noise_.data(), bins_);
    ippsConvert_32f32s_Sfs(noise_.data(), words_.data(), bins_, kRoundToNearest, 0);
    for (int32_t k = 0; k < bins_; ++k)
      noiseWords_[k] = std::min(noiseWords_[k], words_[k]);
    ippsConvert_32s32f(noiseWords_.data(), noise_.data(), bins_);
    ippsThreshold_LT_32f_I(noise_.data(), bins_, 1.0F);
  }

  void UpdateGain() {
    constexpr float kHighestRatio = 0x1p15F;
    ippsDiv_32f(noise_.data(), power_.data(), posterior_.data(), bins_);
    ippsThreshold_GT_32f_I(posterior_.data(), bins_, kHighestRatio);

    // The prior ratio, decided mostly from what the last frame was found to be without its noise.
    constexpr float kFromLastFrame = 0.98F;
    ippsSubC_32f(posterior_.data(), 1.0F, prior_.data(), bins_);
    ippsThreshold_LT_32f_I(prior_.data(), bins_, 0.0F);
    ippsMulC_32f_I(1.0F - kFromLastFrame, prior_.data(), bins_);
    ippsDiv_32f_I(noise_.data(), cleanPower_.data(), bins_);
    ippsMulC_32f_I(kFromLastFrame, cleanPower_.data(), bins_);
    ippsAdd_32f_I(cleanPower_.data(), prior_.data(), bins_);

    ippsConvert_32f32s_Sfs(prior_.data(), words_.data(), bins_, kRoundToNearest, -kRatioBits);
    Check(ippsFilterUpdateWiener_32s(words_.data(), gainWords_.data(), bins_));
    if (rule_ == GainRule::kEphraimMalah) {
      ippsConvert_32f32s_Sfs(posterior_.data(), words_.data(), bins_, kRoundToNearest, -kRatioBits);
      ippsThreshold_LT_32s_I(words_.data(), bins_, 1);
      Check(ippsFilterUpdateEMNS_32s(gainWords_.data(), words_.data(), gainWords_.data(), bins_));
    }
    ippsThreshold_LT_32s_I(gainWords_.data(), bins_, kLeastGain);
    ippsConvert_32s32f(gainWords_.data(), gain_.data(), bins_);
    ippsMulC_32f_I(0x1p-31F, gain_.data(), bins_);

    ippsSqr_32f(gain_.data(), cleanPower_.data(), bins_);
    ippsMul_32f_I(power_.data(), cleanPower_.data(), bins_);
  }

  GainRule rule_;
  int32_t framesPerUpdate_;
  int32_t length_;
  int32_t bins_ = length_ / 2 + 1;
  int64_t frameCount_ = 0;
  float mostGrowth_ = 1.0F;
  std::unique_ptr<RealFft32f, FreeTransform> transform_;
  std::vector<uint8_t> tracker_;

  Floats window_ = Floats(length_);
  Floats frame_ = Floats(length_);
  Floats tail_ = Floats(Hop());
  Floats power_ = Floats(bins_);
  Floats noise_ = Floats(bins_, 0x1p31F);  // No bound to the noise of the first frame.
  Floats posterior_ = Floats(bins_);
  Floats prior_ = Floats(bins_);
  Floats cleanPower_ = Floats(bins_);
  Floats gain_ = Floats(bins_);
  Words words_ = Words(bins_);
  Words noiseWords_ = Words(bins_);
  Words gainWords_ = Words(bins_);
  std::vector<Complex32f> spectrum_ = std::vector<Complex32f>(bins_);
  std::vector<Complex32f> complexGain_ = std::vector<Complex32f>(bins_);
};
