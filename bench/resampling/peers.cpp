// libsamplerate, speexdsp and soxr, each as a stream of 16-bit samples by its own means.
#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>

#include <cstdlib>

#include "bench/resampling/stream.h"

namespace zr::bench {
namespace {

/// Room for what a block makes and for what was held back before it.
int32_t MostOutputs(const Rates& rates, int32_t count) {
  constexpr int64_t kHeldBack = 8192;
  return static_cast<int32_t>((count + kHeldBack) * rates.out / rates.in);
}

class Samplerate : public ResamplingStream {
 public:
  Samplerate(const Rates& rates, int quality)
      : rates_(rates), state_(src_new(quality, 1, &error_)) {
    if (state_ == nullptr) std::abort();
  }
  ~Samplerate() override { src_delete(state_); }
  Samplerate(const Samplerate&) = delete;
  Samplerate& operator=(const Samplerate&) = delete;

  int32_t Run(const int16_t* samples, int32_t count, int16_t* d) override {
    const int32_t most = MostOutputs(rates_, count);
    input_.resize(static_cast<std::size_t>(count));
    output_.resize(static_cast<std::size_t>(most));
    src_short_to_float_array(samples, input_.data(), count);
    SRC_DATA data = {};
    data.data_in = input_.data();
    data.data_out = output_.data();
    data.input_frames = count;
    data.output_frames = most;
    data.src_ratio = static_cast<double>(rates_.out) / rates_.in;
    if (src_process(state_, &data) != 0 || data.input_frames_used != count) std::abort();
    const auto outputs = static_cast<int32_t>(data.output_frames_gen);
    src_float_to_short_array(output_.data(), d, outputs);
    return outputs;
  }

 private:
  Rates rates_;
  int error_ = 0;
  SRC_STATE* state_;
  std::vector<float> input_;
  std::vector<float> output_;
};

class Speexdsp : public ResamplingStream {
 public:
  Speexdsp(const Rates& rates, int quality)
      : rates_(rates),
        state_(speex_resampler_init(1, static_cast<spx_uint32_t>(rates.in),
                                    static_cast<spx_uint32_t>(rates.out), quality, nullptr)) {
    if (state_ == nullptr) std::abort();
  }
  ~Speexdsp() override { speex_resampler_destroy(state_); }
  Speexdsp(const Speexdsp&) = delete;
  Speexdsp& operator=(const Speexdsp&) = delete;

  int32_t Run(const int16_t* samples, int32_t count, int16_t* d) override {
    auto inputs = static_cast<spx_uint32_t>(count);
    auto outputs = static_cast<spx_uint32_t>(MostOutputs(rates_, count));
    speex_resampler_process_int(state_, 0, samples, &inputs, d, &outputs);
    if (inputs != static_cast<spx_uint32_t>(count)) std::abort();
    return static_cast<int32_t>(outputs);
  }

 private:
  Rates rates_;
  SpeexResamplerState* state_;
};

/// Without dither, which none of the others has, and told the band that is measured here.
class Soxr : public ResamplingStream {
 public:
  Soxr(const Rates& rates, int bits) : rates_(rates) {
    soxr_io_spec_t formats = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    formats.flags = SOXR_NO_DITHER;
    soxr_quality_spec_t quality = soxr_quality_spec(SOXR_16_BITQ, 0);
    quality.precision = bits;
    quality.passband_end = 0.9;
    quality.stopband_begin = 1.1;
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    state_ = soxr_create(rates.in, rates.out, 1, nullptr, &formats, &quality, &oneThread);
    if (state_ == nullptr) std::abort();
  }
  ~Soxr() override { soxr_delete(state_); }
  Soxr(const Soxr&) = delete;
  Soxr& operator=(const Soxr&) = delete;

  int32_t Run(const int16_t* samples, int32_t count, int16_t* d) override {
    std::size_t inputs = 0;
    std::size_t outputs = 0;
    const soxr_error_t error =
        soxr_process(state_, samples, static_cast<std::size_t>(count), &inputs, d,
                     static_cast<std::size_t>(MostOutputs(rates_, count)), &outputs);
    if (error != nullptr || inputs != static_cast<std::size_t>(count)) std::abort();
    return static_cast<int32_t>(outputs);
  }

 private:
  Rates rates_;
  soxr_t state_ = nullptr;
};

template <typename Stream>
std::unique_ptr<ResamplingStream> Make(const Rates& rates, int quality) {
  return std::make_unique<Stream>(rates, quality);
}

/// Settings of one kind, numbered from `first` to `last`.
template <typename Stream>
Peer NumberedPeer(const std::string& name, const std::string& kind, int first, int last) {
  Peer peer = {name, {}};
  for (int number = first; number <= last; ++number) {
    peer.settings.push_back({kind + " " + std::to_string(number), &Make<Stream>, number});
  }
  return peer;
}

}  // namespace

std::vector<Peer> ResamplingPeers() {
  return {{"libsamplerate",
           {{"sinc, fastest", &Make<Samplerate>, SRC_SINC_FASTEST},
            {"sinc, medium", &Make<Samplerate>, SRC_SINC_MEDIUM_QUALITY},
            {"sinc, best", &Make<Samplerate>, SRC_SINC_BEST_QUALITY}}},
          NumberedPeer<Speexdsp>("speexdsp", "quality", 1, SPEEX_RESAMPLER_QUALITY_MAX),
          NumberedPeer<Soxr>("soxr", "bits", 15, 20)};
}

}  // namespace zr::bench
