#include "apps/popclean/audio_format.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <map>

#include "apps/popclean/counted.h"
#include "apps/popclean/failure.h"

namespace zr::popclean {
namespace {

int Container(int format) {
  return format & SF_FORMAT_TYPEMASK;
}
int Coding(int format) {
  return format & SF_FORMAT_SUBMASK;
}

std::vector<SF_FORMAT_INFO> List(int countCommand, int itemCommand) {
  int count = 0;
  sf_command(nullptr, countCommand, &count, sizeof(count));
  std::vector<SF_FORMAT_INFO> list;
  for (int i = 0; i < count; ++i) {
    SF_FORMAT_INFO item = {};
    item.format = i;
    if (sf_command(nullptr, itemCommand, &item, sizeof(item)) == 0) list.push_back(item);
  }
  return list;
}

std::vector<SF_FORMAT_INFO> Containers() {
  return List(SFC_GET_FORMAT_MAJOR_COUNT, SFC_GET_FORMAT_MAJOR);
}

std::vector<SF_FORMAT_INFO> Codings() {
  return List(SFC_GET_FORMAT_SUBTYPE_COUNT, SFC_GET_FORMAT_SUBTYPE);
}

std::string NameOf(const std::vector<SF_FORMAT_INFO>& list, int format) {
  const auto item = std::ranges::find(list, format, &SF_FORMAT_INFO::format);
  return item == list.end() ? "unnamed format" : item->name;
}

struct ExtensionRow {
  const char* extension;
  int format;  // A container, and a coding where the extension names one.
};

// Beside the extensions of libsndfile's own list. The first row of an extension is what a new file
// becomes; an input in any container of the extension keeps it.
constexpr auto kMoreExtensions = std::to_array<ExtensionRow>({
    {"wav", SF_FORMAT_WAV},
    {"wav", SF_FORMAT_WAVEX},
    {"wav", SF_FORMAT_RF64},
    {"wav", SF_FORMAT_NIST},
    {"wavex", SF_FORMAT_WAVEX},
    {"mat", SF_FORMAT_MAT5},
    {"mat", SF_FORMAT_MAT4},
    {"aif", SF_FORMAT_AIFF},
    {"aifc", SF_FORMAT_AIFF},
    {"snd", SF_FORMAT_AU},
    {"ogg", SF_FORMAT_OGG},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
    {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
    {"nist", SF_FORMAT_NIST},
    {"sph", SF_FORMAT_NIST},
    {"ircam", SF_FORMAT_IRCAM},
    {"svx", SF_FORMAT_SVX},
});

// Sound Designer II keeps half of a file in a second one, which could not appear together with it.
// Of MPEG's layers, only the third can be written, and has its row above.
bool HasOwnExtension(int format) {
  return Container(format) != SF_FORMAT_SD2 && Container(format) != SF_FORMAT_MPEG;
}

using FormatsByExtension = std::map<std::string, std::vector<int>>;

const FormatsByExtension& Extensions() {
  static const FormatsByExtension kExtensions = [] {
    FormatsByExtension extensions;
    for (const ExtensionRow& row : kMoreExtensions) {
      extensions[row.extension].push_back(row.format);
    }
    for (const SF_FORMAT_INFO& container : Containers()) {
      if (!HasOwnExtension(container.format)) continue;
      auto& formats = extensions[container.extension];
      if (std::ranges::find(formats, container.format) == formats.end()) {
        formats.push_back(container.format);
      }
    }
    return extensions;
  }();
  return kExtensions;
}

std::string ExtensionOf(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::ranges::transform(extension, extension.begin(), [](char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  });
  return extension;
}

bool IsLegal(int format, const SF_INFO& source) {
  SF_INFO wanted = source;
  wanted.format = format;
  return sf_format_check(&wanted) != 0;
}

// A codec that belongs to its container stays there, whatever the library says of others.
bool CanMove(int format) {
  return format != 0 && (CodingOf(format).isInteger || PlainBytesPerSample(format) > 0);
}

}  // namespace

SampleCoding CodingOf(int format) {
  switch (Coding(format)) {
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
      return {.isInteger = false, .bits = 0};
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_DPCM_8:
      return {.isInteger = true, .bits = 8};
    case SF_FORMAT_DWVW_12:
      return {.isInteger = true, .bits = 12};
    case SF_FORMAT_ALAC_20:
      return {.isInteger = true, .bits = 20};
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_ALAC_24:
      return {.isInteger = true, .bits = 24};
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
      return {.isInteger = true, .bits = 32};
    default:
      // Plain 16 bits, and the codecs that decode to them.
      return {.isInteger = true, .bits = 16};
  }
}

std::string ContainerName(int format) {
  return NameOf(Containers(), Container(format));
}
std::string CodingName(int format) {
  return NameOf(Codings(), Coding(format));
}

std::string SampleWidthName(int format) {
  const SampleCoding coding = CodingOf(format);
  if (coding.isInteger) return std::to_string(coding.bits) + "-bit";
  if (Coding(format) == SF_FORMAT_FLOAT) return "32-bit float";
  if (Coding(format) == SF_FORMAT_DOUBLE) return "64-bit float";
  return CodingName(format);
}

std::vector<std::string> KnownExtensions() {
  std::vector<std::string> known;
  for (const auto& [extension, formats] : Extensions())
    known.push_back(extension);
  return known;
}

void CheckOutputName(const std::string& path) {
  if (Extensions().contains(ExtensionOf(path))) return;
  std::string known;
  for (const std::string& extension : KnownExtensions()) {
    known += (known.empty() ? "." : " .") + extension;
  }
  throw Failure("the extension of " + Quoted(path) + " says the file format, and must be one of " +
                known);
}

int ChooseOutputFormat(const std::string& path, const SF_INFO& source) {
  const std::vector<int>& formats = Extensions().at(ExtensionOf(path));
  const auto own = std::ranges::find_if(formats, [&](int format) {
    const bool sameCoding = Coding(format) == 0 || Coding(format) == Coding(source.format);
    return Container(format) == Container(source.format) && sameCoding;
  });
  if (own != formats.end() && IsLegal(source.format, source)) return source.format;

  const int container = formats.front();
  if (Coding(container) != 0 && IsLegal(container, source)) return container;
  if (CanMove(source.format) && IsLegal(Container(container) | Coding(source.format), source)) {
    return Container(container) | Coding(source.format);
  }
  if (IsLegal(Container(container) | SF_FORMAT_PCM_16, source)) {
    return Container(container) | SF_FORMAT_PCM_16;
  }
  for (const SF_FORMAT_INFO& coding : Codings()) {
    if (IsLegal(Container(container) | coding.format, source)) {
      return Container(container) | coding.format;
    }
  }
  throw Failure("cannot write " + Quoted(path) + ": " + ContainerName(container) + " cannot hold " +
                Counted(source.channels, "channel") + " at " + std::to_string(source.samplerate) +
                " Hz");
}

std::optional<int64_t> MostFileBytes(int format) {
  // Room for what stands behind the samples.
  constexpr int64_t kReserve = 1 << 20;
  constexpr int64_t kFourGigabytes = int64_t{1} << 32;
  switch (Container(format)) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_AIFF:
    case SF_FORMAT_AU:
    case SF_FORMAT_SVX:
    case SF_FORMAT_AVR:
      return kFourGigabytes - kReserve;
    case SF_FORMAT_VOC:
      // A block's size has three bytes.
      return (1 << 24) - 1024;
    default:
      return std::nullopt;
  }
}

int PlainBytesPerSample(int format) {
  switch (Coding(format)) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      return 1;
    case SF_FORMAT_PCM_16:
      return 2;
    case SF_FORMAT_PCM_24:
      return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
      return 4;
    case SF_FORMAT_DOUBLE:
      return 8;
    default:
      return 0;
  }
}

}  // namespace zr::popclean
