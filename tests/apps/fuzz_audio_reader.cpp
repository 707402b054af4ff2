// Any bytes as an audio file, through the reader and the filter into nothing. The first byte picks
// a small sound file; the rest overwrites it in places, so that most inputs get past the header.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/popclean/clean_job.h"
#include "apps/popclean/failure.h"
#include "apps/popclean/owned_descriptor.h"
#include "apps/popclean/sound_file_reader.h"
#include "tests/apps/audio_samples.h"

namespace {

using zr::popclean::OwnedDescriptor;
using Bytes = std::vector<uint8_t>;

constexpr auto kFormats = std::to_array<int>({
    SF_FORMAT_WAV | SF_FORMAT_PCM_16,
    SF_FORMAT_WAV | SF_FORMAT_FLOAT,
    SF_FORMAT_WAVEX | SF_FORMAT_PCM_24,
    SF_FORMAT_RF64 | SF_FORMAT_PCM_16,
    SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
    SF_FORMAT_AU | SF_FORMAT_ULAW,
    SF_FORMAT_CAF | SF_FORMAT_PCM_32,
    SF_FORMAT_W64 | SF_FORMAT_PCM_U8,
    SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
});

// A header may claim any length and any number of channels; the work for one input stays small.
constexpr int kMostChannels = 16;
constexpr std::size_t kMostFrames = 4096;

std::string NameOf(const OwnedDescriptor& file) {
  return "/proc/self/fd/" + std::to_string(file.Get());
}

Bytes SmallSoundFile(int format) {
  const OwnedDescriptor file(memfd_create("sound", MFD_CLOEXEC));
  zr::test::WriteSoundFile(NameOf(file), format, 8000, 2, zr::test::ClickySound(200, 2));
  Bytes bytes(static_cast<std::size_t>(lseek(file.Get(), 0, SEEK_END)));
  if (pread(file.Get(), bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    abort();
  return bytes;
}

Bytes AudioFileOf(const uint8_t* data, std::size_t size) {
  static const std::vector<Bytes> kSounds = [] {
    std::vector<Bytes> sounds;
    for (const int format : kFormats)
      sounds.push_back(SmallSoundFile(format));
    return sounds;
  }();
  if (size == 0) return {};
  const std::size_t choice = data[0] % (kSounds.size() + 1);
  if (choice == kSounds.size()) return {data + 1, data + size};
  Bytes bytes = kSounds[choice];
  // Few places, and most of them in the header.
  for (std::size_t i = 1; i + 2 < std::min<std::size_t>(size, 25); i += 3) {
    const std::size_t range =
        data[i] % 8 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 96);
    bytes[(data[i] * 256U + data[i + 1]) % range] = data[i + 2];
  }
  return bytes;
}

// Ends a file that would go on too long.
class BoundedSource : public zr::popclean::AudioSource {
 public:
  explicit BoundedSource(zr::popclean::SoundFileReader& reader) : reader_(reader) {}

  const zr::popclean::AudioShape& Shape() const override { return reader_.Shape(); }
  std::size_t Read(double* frames, std::size_t frameCount) override {
    const std::size_t count = reader_.Read(frames, std::min(frameCount, left_));
    left_ -= count;
    return count;
  }
  void CheckComplete() const override { reader_.CheckComplete(); }

 private:
  zr::popclean::SoundFileReader& reader_;
  std::size_t left_ = kMostFrames;
};

class CountingSink : public zr::popclean::AudioSink {
 public:
  void Write(const double* /*frames*/, std::size_t frameCount) override { written_ += frameCount; }
  void Finish() override {}
  std::string Description() const override { return "nothing"; }
  std::size_t Written() const { return written_; }

 private:
  std::size_t written_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const Bytes bytes = AudioFileOf(data, size);
  const OwnedDescriptor file(memfd_create("input", MFD_CLOEXEC));
  if (write(file.Get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) abort();
  try {
    zr::popclean::SoundFileReader reader(NameOf(file));
    if (reader.Shape().channels > kMostChannels) return 0;
    BoundedSource source(reader);
    CountingSink sink;
    zr::popclean::RunSummary summary;
    zr::popclean::CleanStream({source, sink}, {}, false, false, summary);
    // The flushed lag replaces the dropped one.
    if (sink.Written() != static_cast<std::size_t>(summary.frames)) abort();
  } catch (const zr::popclean::Failure&) {
    // A refusal is a good answer.
  }
  return 0;
}
