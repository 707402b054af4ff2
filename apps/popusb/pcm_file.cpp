#include "apps/popusb/pcm_file.h"

#include <cmath>

namespace zr::popusb {
namespace {

SF_INFO InfoOf(const PcmFormat& format) {
  SF_INFO info = {};
  info.samplerate = format.rate;
  info.channels = format.channels;
  info.format = SF_FORMAT_WAV | (format.bits == 16   ? SF_FORMAT_PCM_16
                                 : format.bits == 24 ? SF_FORMAT_PCM_24
                                                     : SF_FORMAT_PCM_32);
  return info;
}

// Little-endian, its sign in the highest bit; full scale becomes 1.
double SampleAt(const uint8_t* bytes, int size) {
  uint32_t word = 0;
  for (int i = 0; i < size; ++i)
    word = word >> 8 | uint32_t{bytes[i]} << 24;
  return std::ldexp(static_cast<double>(static_cast<int32_t>(word)), -31);
}

}  // namespace

bool PcmFormat::IsWritable() const {
  constexpr int kMostChannels = 64;
  return (bits == 16 || bits == 24 || bits == 32) && channels > 0 && channels <= kMostChannels &&
         rate > 0;
}

PcmFile::PcmFile(const std::string& path, const PcmFormat& format)
    : format_(format), target_(path), writer_(target_, InfoOf(format), {}, {}) {}

void PcmFile::Write(std::span<const uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  const std::size_t frames = pending_.size() / format_.FrameSize();
  if (frames == 0) return;
  const int sampleSize = format_.bits / 8;
  samples_.clear();
  const std::size_t whole = frames * format_.FrameSize();
  for (std::size_t at = 0; at < whole; at += static_cast<std::size_t>(sampleSize))
    samples_.push_back(SampleAt(&pending_[at], sampleSize));
  writer_.Write(samples_.data(), frames);
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(whole));
}

void PcmFile::Publish() {
  writer_.Finish();
  target_.Complete();
  target_.Publish();
}

}  // namespace zr::popusb
