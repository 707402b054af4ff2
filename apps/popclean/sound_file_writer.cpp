#include "apps/popclean/sound_file_writer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "apps/popclean/counted.h"
#include "apps/popclean/failure.h"
#include "apps/popclean/sample_conversion.h"

namespace zr::popclean {

SoundFileWriter::SoundFileWriter(TargetFile& target, const SF_INFO& info,
                                 const SoundFileRemarks& remarks,
                                 std::optional<int64_t> expectedFrames)
    : target_(target), info_(info), coding_(CodingOf(info.format)) {
  const int64_t frameBytes = int64_t{info.channels} * PlainBytesPerSample(info.format);
  if (expectedFrames && *expectedFrames > 0 && frameBytes > 0) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    ThrowIfTooLong(*expectedFrames > kMost / frameBytes ? kMost : *expectedFrames * frameBytes);
  }
  SF_VIRTUAL_IO access = {
      .get_filelen = Length, .seek = Seek, .read = ReadBack, .write = WriteBytes, .tell = Tell};
  file_.reset(sf_open_virtual(&access, SFM_WRITE, &info_, this));
  ThrowIfWriteFailed();
  if (file_ == nullptr) {
    throw Failure("cannot write " + Quoted(target_.Name()) + " as " + ContainerName(info.format) +
                  ", " + CodingName(info.format) + " with " + Counted(info.channels, "channel") +
                  " at " + std::to_string(info.samplerate) + " Hz: " + sf_strerror(nullptr));
  }
  WriteRemarks(remarks);
}

// A container that has no place for a remark refuses it, and the audio is none the worse.
void SoundFileWriter::WriteRemarks(const SoundFileRemarks& remarks) {
  for (const auto& [kind, text] : remarks.texts) {
    sf_set_string(file_.get(), kind, text.c_str());
  }
  std::vector<int> map = remarks.channelMap;
  if (map.empty()) return;
  sf_command(file_.get(), SFC_SET_CHANNEL_MAP_INFO, map.data(),
             static_cast<int>(map.size() * sizeof(int)));
}

void SoundFileWriter::Write(const double* frames, std::size_t frameCount) {
  const auto wanted = static_cast<sf_count_t>(frameCount);
  sf_count_t written = 0;
  if (coding_.isInteger) {
    const std::size_t samples = frameCount * static_cast<std::size_t>(info_.channels);
    integers_.resize(std::max(integers_.size(), samples));
    // Rounded here, as the library would cut the bits off.
    std::transform(frames, frames + samples, integers_.begin(), [this](double sample) {
      return static_cast<int>(static_cast<uint32_t>(ToInteger(sample, coding_.bits))
                              << (32 - coding_.bits));
    });
    written = sf_writef_int(file_.get(), integers_.data(), wanted);
  } else {
    written = sf_writef_double(file_.get(), frames, wanted);
  }
  ThrowIfWriteFailed();
  ThrowIfTooLong(Length(this));
  if (written != wanted) {
    throw Failure("cannot write " + Quoted(target_.Name()) + ": " + sf_strerror(file_.get()));
  }
}

void SoundFileWriter::Finish() {
  const int status = sf_close(file_.release());
  ThrowIfWriteFailed();
  if (status != SF_ERR_NO_ERROR) {
    throw Failure("cannot write " + Quoted(target_.Name()) + ": " + sf_error_number(status));
  }
}

std::string SoundFileWriter::Description() const {
  return ContainerName(info_.format) + ", " + CodingName(info_.format);
}

void SoundFileWriter::ThrowIfTooLong(int64_t bytes) const {
  const std::optional<int64_t> most = MostFileBytes(info_.format);
  if (!most || bytes <= *most) return;
  throw Failure("the audio is too long for " + Quoted(target_.Name()) + ": " +
                ContainerName(info_.format) +
                " cannot hold so many bytes; .w64, .rf64 or .caf can");
}

void SoundFileWriter::ThrowIfWriteFailed() const {
  if (writeError_ != 0) throw SystemFailure("cannot write " + Quoted(target_.Name()), writeError_);
}

sf_count_t SoundFileWriter::Length(void* self) {
  struct stat status = {};
  fstat(static_cast<SoundFileWriter*>(self)->target_.Descriptor(), &status);
  return status.st_size;
}

sf_count_t SoundFileWriter::Seek(sf_count_t offset, int origin, void* self) {
  return lseek(static_cast<SoundFileWriter*>(self)->target_.Descriptor(), offset, origin);
}

sf_count_t SoundFileWriter::ReadBack(void* bytes, sf_count_t size, void* self) {
  return read(static_cast<SoundFileWriter*>(self)->target_.Descriptor(), bytes,
              static_cast<std::size_t>(size));
}

sf_count_t SoundFileWriter::WriteBytes(const void* bytes, sf_count_t size, void* self) {
  auto& writer = *static_cast<SoundFileWriter*>(self);
  const auto* const first = static_cast<const char*>(bytes);
  sf_count_t done = 0;
  while (done < size) {
    const ssize_t written =
        write(writer.target_.Descriptor(), first + done, static_cast<std::size_t>(size - done));
    if (written >= 0) {
      done += written;
    } else if (errno != EINTR) {
      writer.writeError_ = errno;
      break;
    }
  }
  return done;
}

sf_count_t SoundFileWriter::Tell(void* self) {
  return lseek(static_cast<SoundFileWriter*>(self)->target_.Descriptor(), 0, SEEK_CUR);
}

}  // namespace zr::popclean
