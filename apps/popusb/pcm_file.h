// The bytes of a USB audio stream as a WAV file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/popclean/sound_file_writer.h"
#include "apps/popclean/target_file.h"

namespace zr::popusb {

struct PcmFormat {
  int bits = 0;  ///< 16, 24 or 32.
  int channels = 0;
  int rate = 0;

  std::size_t FrameSize() const { return static_cast<std::size_t>(bits / 8 * channels); }
  /// Whether a PcmFile can hold it.
  bool IsWritable() const;
};

class PcmFile {
 public:
  /// Throws a Failure if the file cannot be begun.
  PcmFile(const std::string& path, const PcmFormat& format);

  /// Takes bytes as they come; a frame that is cut waits for its rest.
  void Write(std::span<const uint8_t> bytes);

  /// Completes the file and gives it its name; bytes of a frame that never became whole are left
  /// out.
  void Publish();

 private:
  const PcmFormat format_;
  popclean::TargetFile target_;
  popclean::SoundFileWriter writer_;
  std::vector<uint8_t> pending_;
  std::vector<double> samples_;
};

}  // namespace zr::popusb
