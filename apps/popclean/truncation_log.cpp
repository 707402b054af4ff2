#include "apps/popclean/truncation_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

namespace zr::popclean {
namespace {

constexpr auto kPlainWords = std::to_array<std::string_view>({
    "File seems to be truncated",
    "Seems to be a truncated file",
    "File ended unexpectedly",
});

// Chunks and fields that give the size of the samples; a wrong size of the whole file may only mean
// that some remark behind the samples is missing.
// In W64 and RF64 it is all that is told; W64 writes "riff" where WAV writes "RIFF".
constexpr auto kSizeNames =
    std::to_array<std::string_view>({"data", "SSND", "Data Size", "BODY", "riff", "Riff size"});

// What a container says in its own way.
struct ContainerRow {
  int container;
  std::string_view words;
  bool isFrameCount;  // Then a number follows the words, to be compared.
};
constexpr auto kContainerRows = std::to_array<ContainerRow>({
    {SF_FORMAT_AVR, "Frames      : ", true},
    {SF_FORMAT_MPC2K, "Frames       : ", true},
    {SF_FORMAT_MAT5, "Cols : ", true},
    {SF_FORMAT_WVE, "Data length ", true},
    {SF_FORMAT_SDS, "short read", false},
});

std::string_view WithoutMargin(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::optional<int64_t> LeadingNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  return number;
}

// What programs write for "unknown": nothing, all ones, or the end of 31 bits, less a few bytes for
// headers and whole blocks; one popular tool stops at 0x7f000000.
bool IsPlaceholder(int64_t size) {
  constexpr int64_t kSlack = 0x1000;
  const auto isNear = [size](int64_t end) { return size >= end - kSlack && size <= end + 64; };
  return size <= 0 || isNear(0xFFFFFFFF) || isNear(0x80000000) || isNear(0x7F000000);
}

// A line such as "data : 192000 (should be 59923)".
bool ClaimsTooMuch(std::string_view line) {
  constexpr std::string_view kCorrection = "(should be ";
  const std::size_t colon = line.find(':');
  const std::size_t correction = line.find(kCorrection);
  if (colon == std::string_view::npos || correction == std::string_view::npos) return false;
  if (std::ranges::find(kSizeNames, WithoutMargin(line.substr(0, colon))) == kSizeNames.end()) {
    return false;
  }
  const auto claimed = LeadingNumber(WithoutMargin(line.substr(colon + 1)));
  const auto there = LeadingNumber(line.substr(correction + kCorrection.size()));
  return claimed && there && *claimed > *there && !IsPlaceholder(*claimed);
}

bool TellsInItsOwnWay(std::string_view line, const SF_INFO& info) {
  return std::ranges::any_of(kContainerRows, [&](const ContainerRow& row) {
    if ((info.format & SF_FORMAT_TYPEMASK) != row.container) return false;
    const std::size_t words = line.find(row.words);
    if (words == std::string_view::npos) return false;
    return !row.isFrameCount ||
           LeadingNumber(line.substr(words + row.words.size())).value_or(0) > info.frames;
  });
}

}  // namespace

bool TellsOfTruncation(std::string_view log, const SF_INFO& info) {
  while (!log.empty()) {
    const std::size_t end = std::min(log.find('\n'), log.size());
    const std::string_view line = log.substr(0, end);
    log.remove_prefix(std::min(end + 1, log.size()));
    const bool isPlain = std::ranges::any_of(kPlainWords, [line](std::string_view words) {
      return line.find(words) != std::string_view::npos;
    });
    if (isPlain || ClaimsTooMuch(line) || TellsInItsOwnWay(line, info)) return true;
  }
  return false;
}

}  // namespace zr::popclean
