// The picture of a run: the whole waveform with the repairs marked, and the largest of them close
// up, before and after.
#pragma once

#include <cstdint>
#include <string>

#include "apps/popclean/close_ups.h"
#include "apps/popclean/target_file.h"
#include "apps/popclean/waveform_envelope.h"

namespace zr::popclean {

class RepairPlot {
 public:
  /// Throws a Failure that lists the known extensions if path has none of them.
  static void CheckName(const std::string& path);

  /// path must pass CheckName; title names the audio. Throws a Failure if gnuplot does not run or
  /// the file cannot be made.
  RepairPlot(const std::string& path, std::string title, int rate, std::size_t channels);

  /// Takes the next block of a stream that starts with sample 0.
  void Add(const CleanedBlock& block);

  /// Draws and completes the file.
  void Finish();
  TargetFile& Target() { return target_; }

 private:
  std::string Script() const;

  TargetFile target_;
  const bool isSvg_;
  const std::string title_;
  const int rate_;
  const std::size_t channels_;
  int64_t repairs_ = 0;
  WaveformEnvelope envelope_;
  CloseUps closeUps_;
};

}  // namespace zr::popclean
