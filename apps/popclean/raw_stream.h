// Raw 16-bit little-endian PCM on a descriptor, as recorders and players speak it on a pipe.
#pragma once

#include <string>
#include <vector>

#include "apps/popclean/audio_stream.h"

namespace zr::popclean {

/// Gives out whole frames as soon as they arrive. Does not own the descriptor.
class RawSource : public AudioSource {
 public:
  RawSource(int descriptor, int rate, int channels);

  const AudioShape& Shape() const override { return shape_; }
  std::size_t Read(double* frames, std::size_t frameCount) override;
  void CheckComplete() const override;

 private:
  const int descriptor_;
  AudioShape shape_;
  std::vector<unsigned char> bytes_;
  std::size_t heldBytes_ = 0;  // Of a frame that has not wholly arrived.
};

/// Writes at once. Does not own the descriptor.
class RawSink : public AudioSink {
 public:
  RawSink(int descriptor, int channels);

  void Write(const double* frames, std::size_t frameCount) override;
  void Finish() override {}
  std::string Description() const override { return "raw PCM, signed 16-bit little-endian"; }

 private:
  const int descriptor_;
  const std::size_t channels_;
  std::vector<unsigned char> bytes_;
};

}  // namespace zr::popclean
