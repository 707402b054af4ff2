// Artificial clicks at known places: what the score of a repair is measured against.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string_view>
#include <vector>

namespace zr::demo {

enum class ClickKind : uint8_t {
  kSingle,  ///< One sample.
  kPair,    ///< Two samples in a row.
  kTriple,  ///< Three samples in a row.
  kSpaced,  ///< Two single samples, three apart.
};

inline constexpr std::array<std::string_view, 4> kClickKindNames = {"single", "pair", "triple",
                                                                    "spaced"};

/// A click of one of these sizes moves each of its samples by so much or up to an eighth more.
inline constexpr std::array<int32_t, 4> kClickSizes = {4000, 8000, 16000, 30000};

/// Samples between the end of a click and the next one, or the end of the recording: at least.
inline constexpr size_t kClickDistance = 600;

/// No click starts earlier: the filter is still training.
inline constexpr size_t kFirstClickPlace = 100;

struct Click {
  ClickKind kind = ClickKind::kSingle;
  size_t first = 0;                 ///< Index of the first sample.
  std::vector<int32_t> amplitudes;  ///< Clicked minus clean, from `first` on; 0 = left alone.
};

/// Adds about five clicks a second to `samples`, spread evenly over speech and pauses, and returns
/// them in order. Kind, size, signs and place come from `seed` alone and are the same everywhere.
/// A click is laid only where 16 bits leave every sample at least the size that was drawn, so it
/// may be missing from a loud passage.
std::vector<Click> InsertClicks(std::span<int16_t> samples, int32_t sampleRate, uint32_t seed);

/// Index into kClickSizes.
size_t SizeIndex(const Click& click);

/// One line for each click: kind, first sample, length, amplitudes separated by spaces.
void WriteTruth(std::ostream& stream, std::span<const Click> clicks);

/// Throws std::runtime_error at a line that WriteTruth could not have written.
std::vector<Click> ReadTruth(std::istream& stream);

}  // namespace zr::demo
