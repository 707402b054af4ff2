#include "apps/popclean/sound_file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <limits>

#include "apps/popclean/failure.h"
#include "apps/popclean/owned_descriptor.h"
#include "apps/popclean/truncation_log.h"

namespace zr::popclean {
namespace {

// What the library gives for a length that it cannot know beforehand.
constexpr sf_count_t kUnknownLength = std::numeric_limits<sf_count_t>::max();

// libsndfile's own words for these cases vary with the format that it guesses.
void ThrowUnlessReadableFile(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) throw SystemFailure("cannot read " + Quoted(path), errno);
  if (S_ISDIR(status.st_mode)) throw Failure("cannot read " + Quoted(path) + ": it is a folder");
  if (!S_ISREG(status.st_mode)) {
    throw Failure("cannot read " + Quoted(path) +
                  ": it is not a regular file; raw samples can be piped into '-'");
  }
  const OwnedDescriptor probe(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (probe.Get() < 0) throw SystemFailure("cannot read " + Quoted(path), errno);
  if (status.st_size == 0) throw Failure(Quoted(path) + " is empty");
}

std::string LogOf(SNDFILE* file) {
  std::string log(1 << 14, '\0');
  const int length = sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
  log.resize(static_cast<std::size_t>(length));
  return log;
}

std::string WithoutFullStop(std::string text) {
  while (!text.empty() && (text.back() == '.' || text.back() == ' '))
    text.pop_back();
  return text;
}

}  // namespace

SoundFileReader::SoundFileReader(const std::string& path) : path_(path) {
  ThrowUnlessReadableFile(path);
  file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
  if (file_ == nullptr) {
    switch (sf_error(nullptr)) {
      case SF_ERR_UNRECOGNISED_FORMAT:
        throw Failure(Quoted(path) + " is not an audio file of a known format");
      case SF_ERR_MALFORMED_FILE:
        throw Failure(Quoted(path) + " is truncated or damaged");
      default:
        throw Failure("cannot read " + Quoted(path) +
                      " as audio: " + WithoutFullStop(sf_strerror(nullptr)));
    }
  }
  ThrowIfTruncated();
  if (info_.frames == 0) throw Failure(Quoted(path) + " is empty: it holds no samples");
  coding_ = CodingOf(info_.format);
  shape_ = {.rate = info_.samplerate,
            .channels = info_.channels,
            .frames = info_.frames == kUnknownLength ? std::nullopt
                                                     : std::optional<int64_t>(info_.frames),
            .container = ContainerName(info_.format),
            .coding = CodingName(info_.format),
            .sampleWidth = SampleWidthName(info_.format),
            .isSixteenBit = coding_.isInteger && coding_.bits == 16};
}

std::size_t SoundFileReader::Read(double* frames, std::size_t frameCount) {
  const auto wanted = static_cast<sf_count_t>(frameCount);
  sf_count_t count = 0;
  if (coding_.isInteger) {
    // The library's integers are exact both ways; its conversions from and to double are not.
    integers_.resize(frameCount * static_cast<std::size_t>(info_.channels));
    count = sf_readf_int(file_.get(), integers_.data(), wanted);
    const auto samples = static_cast<std::size_t>(count * info_.channels);
    for (std::size_t i = 0; i < samples; ++i)
      frames[i] = std::ldexp(integers_[i], -31);
  } else {
    count = sf_readf_double(file_.get(), frames, wanted);
  }
  framesRead_ += count;
  return static_cast<std::size_t>(count);
}

void SoundFileReader::CheckComplete() const {
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) {
    throw Failure(Quoted(path_) + " is damaged: " + WithoutFullStop(sf_strerror(file_.get())));
  }
  // At the end of a whole Ogg stream the library misses the mark that it has already passed.
  if ((info_.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_OGG) ThrowIfTruncated();
  if (shape_.frames && framesRead_ < *shape_.frames) {
    throw Failure(Quoted(path_) + " is truncated: it promises " + std::to_string(*shape_.frames) +
                  " frames and ends after " + std::to_string(framesRead_));
  }
}

void SoundFileReader::ThrowIfTruncated() const {
  if (TellsOfTruncation(LogOf(file_.get()), info_)) {
    throw Failure(Quoted(path_) + " is truncated: its header promises more audio than there is");
  }
}

SoundFileRemarks SoundFileReader::Remarks() const {
  SoundFileRemarks remarks;
  for (int kind = SF_STR_FIRST; kind <= SF_STR_LAST; ++kind) {
    const char* const text = sf_get_string(file_.get(), kind);
    if (text != nullptr) remarks.texts.emplace_back(kind, text);
  }
  std::vector<int> map(static_cast<std::size_t>(info_.channels));
  const auto bytes = static_cast<int>(map.size() * sizeof(int));
  if (sf_command(file_.get(), SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes) == SF_TRUE) {
    remarks.channelMap = map;
  }
  return remarks;
}

}  // namespace zr::popclean
