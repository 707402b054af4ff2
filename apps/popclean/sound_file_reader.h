// An audio file as a source of frames, through libsndfile.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/popclean/audio_format.h"
#include "apps/popclean/audio_stream.h"

namespace zr::popclean {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

/// What travels to the output beside the samples.
struct SoundFileRemarks {
  std::vector<std::pair<int, std::string>> texts;  ///< By SF_STR_...
  std::vector<int> channelMap;                     ///< Empty if the file has none.
};

class SoundFileReader : public AudioSource {
 public:
  /// Throws a Failure if there is no such file, or it is not audio, empty, or truncated.
  explicit SoundFileReader(const std::string& path);

  const AudioShape& Shape() const override { return shape_; }
  std::size_t Read(double* frames, std::size_t frameCount) override;
  void CheckComplete() const override;

  /// Format, rate and channels for the choice of an output format.
  const SF_INFO& Info() const { return info_; }
  SoundFileRemarks Remarks() const;

 private:
  void ThrowIfTruncated() const;

  const std::string path_;
  SF_INFO info_ = {};
  SoundFile file_;
  SampleCoding coding_ = {};
  AudioShape shape_;
  std::vector<int> integers_;
  int64_t framesRead_ = 0;
};

}  // namespace zr::popclean
