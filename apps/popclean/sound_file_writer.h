// An audio file as a sink of frames, through libsndfile, written into a target file.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/popclean/audio_format.h"
#include "apps/popclean/audio_stream.h"
#include "apps/popclean/sound_file_reader.h"
#include "apps/popclean/target_file.h"

namespace zr::popclean {

class SoundFileWriter : public AudioSink {
 public:
  /// Begins a file of the given format, rate and channels in target, which must outlive the writer.
  /// expectedFrames refuses at once what could not be completed. Throws a Failure.
  SoundFileWriter(TargetFile& target, const SF_INFO& info, const SoundFileRemarks& remarks,
                  std::optional<int64_t> expectedFrames);

  void Write(const double* frames, std::size_t frameCount) override;
  void Finish() override;
  std::string Description() const override;

 private:
  // libsndfile forgets errors of the last writes in its close, so the writes pass through here.
  static sf_count_t Length(void* self);
  static sf_count_t Seek(sf_count_t offset, int origin, void* self);
  static sf_count_t ReadBack(void* bytes, sf_count_t size, void* self);
  static sf_count_t WriteBytes(const void* bytes, sf_count_t size, void* self);
  static sf_count_t Tell(void* self);

  void WriteRemarks(const SoundFileRemarks& remarks);
  void ThrowIfTooLong(int64_t bytes) const;
  void ThrowIfWriteFailed() const;

  TargetFile& target_;
  SF_INFO info_;
  const SampleCoding coding_;
  int writeError_ = 0;
  SoundFile file_;
  std::vector<int> integers_;
};

}  // namespace zr::popclean
