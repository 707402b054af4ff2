// File formats of libsndfile: which one an output name stands for, and what a format can hold.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zr::popclean {

/// How samples are coded, as far as the conversion needs to know.
struct SampleCoding {
  bool isInteger;  ///< Else float, or a codec that works on floats.
  int bits;        ///< Of an integer sample.
};

SampleCoding CodingOf(int format);

/// For people: the names of the container and of the coding, and the width as an adjective.
std::string ContainerName(int format);
std::string CodingName(int format);
std::string SampleWidthName(int format);

/// The extensions of output names that are understood, in order.
std::vector<std::string> KnownExtensions();

/// Throws a Failure that lists the known extensions if the name of an output has none of them.
void CheckOutputName(const std::string& path);

/// The format in which to write audio to path, a name that CheckOutputName accepts: the input's own
/// in the same container; else the input's coding if the container takes it, else 16 bits, else the
/// first coding that it takes. source.format is 0 for raw input. Throws a Failure if none will do.
int ChooseOutputFormat(const std::string& path, const SF_INFO& source);

/// The most bytes that a file with short size fields can have.
std::optional<int64_t> MostFileBytes(int format);

/// Bytes of a sample on the disk; 0 where a codec makes of them what it can.
int PlainBytesPerSample(int format);

}  // namespace zr::popclean
