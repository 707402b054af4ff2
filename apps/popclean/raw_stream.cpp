#include "apps/popclean/raw_stream.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <optional>

#include "apps/popclean/failure.h"
#include "apps/popclean/sample_conversion.h"
#include "apps/popclean/stop_request.h"

namespace zr::popclean {
namespace {

constexpr std::size_t kBytesPerSample = 2;

int16_t LoadLittleEndian(const unsigned char* bytes) {
  return std::bit_cast<int16_t>(static_cast<uint16_t>(bytes[0] | bytes[1] << 8));
}

void StoreLittleEndian(int16_t sample, unsigned char* bytes) {
  const auto bits = std::bit_cast<uint16_t>(sample);
  bytes[0] = static_cast<unsigned char>(bits & 0xFF);
  bytes[1] = static_cast<unsigned char>(bits >> 8);
}

std::size_t ReadSome(int descriptor, unsigned char* bytes, std::size_t size) {
  while (true) {
    WaitUntilReadable(descriptor);
    const ssize_t count = read(descriptor, bytes, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR && errno != EAGAIN) {
      throw SystemFailure("cannot read standard input", errno);
    }
  }
}

}  // namespace

RawSource::RawSource(int descriptor, int rate, int channels)
    : descriptor_(descriptor),
      shape_{.rate = rate,
             .channels = channels,
             .frames = std::nullopt,
             .container = "raw PCM",
             .coding = "signed 16-bit little-endian",
             .sampleWidth = "16-bit",
             .isSixteenBit = true} {}

std::size_t RawSource::Read(double* frames, std::size_t frameCount) {
  const auto channels = static_cast<std::size_t>(shape_.channels);
  const std::size_t frameBytes = channels * kBytesPerSample;
  bytes_.resize(frameCount * frameBytes);
  while (heldBytes_ < frameBytes) {
    const std::size_t arrived =
        ReadSome(descriptor_, bytes_.data() + heldBytes_, bytes_.size() - heldBytes_);
    if (arrived == 0) return 0;
    heldBytes_ += arrived;
  }
  const std::size_t whole = heldBytes_ / frameBytes;
  for (std::size_t i = 0; i < whole * channels; ++i) {
    frames[i] = From16Bits(LoadLittleEndian(bytes_.data() + i * kBytesPerSample));
  }
  const std::size_t taken = whole * frameBytes;
  std::copy_n(bytes_.data() + taken, heldBytes_ - taken, bytes_.data());
  heldBytes_ -= taken;
  return whole;
}

void RawSource::CheckComplete() const {
  if (heldBytes_ == 0) return;
  throw Failure("standard input is truncated: it ends " + std::to_string(heldBytes_) +
                " bytes into a frame of " +
                std::to_string(static_cast<std::size_t>(shape_.channels) * kBytesPerSample));
}

RawSink::RawSink(int descriptor, int channels)
    : descriptor_(descriptor), channels_(static_cast<std::size_t>(channels)) {}

void RawSink::Write(const double* frames, std::size_t frameCount) {
  const std::size_t samples = frameCount * channels_;
  bytes_.resize(samples * kBytesPerSample);
  for (std::size_t i = 0; i < samples; ++i) {
    StoreLittleEndian(To16Bits(frames[i]), bytes_.data() + i * kBytesPerSample);
  }
  std::size_t done = 0;
  while (done < bytes_.size()) {
    // What a pipe that is ready takes without waiting, so that a stalled player cannot hold up a
    // stop.
    const std::size_t size = std::min<std::size_t>(bytes_.size() - done, PIPE_BUF);
    WaitUntilWritable(descriptor_);
    const ssize_t written = write(descriptor_, bytes_.data() + done, size);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno != EINTR && errno != EAGAIN) {
      throw SystemFailure("cannot write to standard output", errno);
    }
  }
}

}  // namespace zr::popclean
