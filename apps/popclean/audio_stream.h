// What audio comes from and goes to. Frames are interleaved doubles with full scale at 1, which
// hold every integer sample of up to 32 bits and every float exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace zr::popclean {

/// What a sink needs to know of the audio, and what is told about it.
struct AudioShape {
  int rate = 0;                   ///< Hertz.
  int channels = 0;               ///< Samples in a frame.
  std::optional<int64_t> frames;  ///< Where the length is known beforehand.
  std::string container;          ///< For people, as "WAV (Microsoft)".
  std::string coding;             ///< For people, as "Signed 24 bit PCM".
  std::string sampleWidth;        ///< For people, as "24-bit".
  bool isSixteenBit = false;      ///< Whether the filter's 16 bits hold every sample exactly.
};

class AudioSource {
 public:
  AudioSource() = default;
  AudioSource(const AudioSource&) = delete;
  AudioSource& operator=(const AudioSource&) = delete;
  virtual ~AudioSource() = default;

  virtual const AudioShape& Shape() const = 0;

  /// Reads what is there, up to frameCount frames; waits only while there is nothing.
  /// Returns the number of frames, 0 at the end.
  virtual std::size_t Read(double* frames, std::size_t frameCount) = 0;

  /// After the end: throws a Failure if the audio ended before it should have.
  virtual void CheckComplete() const = 0;
};

class AudioSink {
 public:
  AudioSink() = default;
  AudioSink(const AudioSink&) = delete;
  AudioSink& operator=(const AudioSink&) = delete;
  virtual ~AudioSink() = default;

  /// Throws a Failure unless every frame was taken.
  virtual void Write(const double* frames, std::size_t frameCount) = 0;

  /// After the last frame: everything is on its way to where it belongs, or a Failure is thrown.
  virtual void Finish() = 0;

  /// How the samples are written, for people.
  virtual std::string Description() const = 0;
};

}  // namespace zr::popclean
