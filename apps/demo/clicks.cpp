// Lays clicks into a recording, and keeps the list of them.
#include "apps/demo/clicks.h"

#include <algorithm>
#include <cstdlib>
#include <istream>
#include <limits>
#include <optional>
#include <ostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

namespace zr::demo {

namespace {

constexpr std::string_view kTruthHeader = "kind,first,length,amplitudes";
constexpr size_t kClicksPerSecond = 5;
constexpr int kTriesPerClick = 200;

// Which samples of a click are moved.
constexpr std::array<std::string_view, 4> kPatterns = {"x", "xx", "xxx", "x--x"};
constexpr size_t kLongestPattern = 4;

// Four singles in ten, two of each other kind.
constexpr std::array<ClickKind, 10> kMix = {
    ClickKind::kSingle, ClickKind::kSingle, ClickKind::kSingle, ClickKind::kSingle,
    ClickKind::kPair,   ClickKind::kPair,   ClickKind::kTriple, ClickKind::kTriple,
    ClickKind::kSpaced, ClickKind::kSpaced};

// The distributions of the standard library may differ from one library to the next; the generator
// may not. So its numbers are mapped here.
class Dice {
 public:
  explicit Dice(uint32_t seed) : generator_(seed) {}

  // A number from 0 to count - 1.
  size_t Draw(size_t count) {
    return static_cast<size_t>((static_cast<uint64_t>(generator_()) * count) >> 32);
  }

 private:
  std::mt19937 generator_;
};

int32_t Clip(int32_t value) {
  return std::clamp<int32_t>(value, std::numeric_limits<int16_t>::min(),
                             std::numeric_limits<int16_t>::max());
}

// Nothing if the signal at `place` is too loud for this size and the signs drawn.
std::optional<Click> TryClick(std::span<const int16_t> samples, ClickKind kind, int32_t size,
                              size_t place, Dice& dice) {
  Click click{.kind = kind, .first = place, .amplitudes = {}};
  for (const char mark : kPatterns[static_cast<size_t>(kind)]) {
    if (mark != 'x') {
      click.amplitudes.push_back(0);
      continue;
    }
    const int32_t extra = static_cast<int32_t>(dice.Draw(static_cast<size_t>(size) / 8 + 1));
    const int32_t sign = dice.Draw(2) == 0 ? 1 : -1;
    const int32_t clean = samples[place + click.amplitudes.size()];
    const int32_t amplitude = Clip(clean + sign * (size + extra)) - clean;
    if (std::abs(amplitude) < size) return std::nullopt;
    click.amplitudes.push_back(amplitude);
  }
  return click;
}

void Apply(const Click& click, std::span<int16_t> samples) {
  for (size_t k = 0; k < click.amplitudes.size(); ++k) {
    int16_t& sample = samples[click.first + k];
    sample = static_cast<int16_t>(sample + click.amplitudes[k]);
  }
}

// A line of the list, or nothing if it is malformed.
std::optional<Click> ParseClick(const std::string& line) {
  std::istringstream fields(line);
  std::string name;
  size_t length = 0;
  char comma = 0;
  Click click;
  if (!std::getline(fields, name, ',')) return std::nullopt;
  const auto known = std::ranges::find(kClickKindNames, name);
  if (known == kClickKindNames.end()) return std::nullopt;
  click.kind = static_cast<ClickKind>(known - kClickKindNames.begin());
  if (!(fields >> click.first >> comma) || comma != ',') return std::nullopt;
  if (!(fields >> length >> comma) || comma != ',') return std::nullopt;
  int32_t amplitude = 0;
  while (fields >> amplitude) {
    click.amplitudes.push_back(amplitude);
  }
  const std::string_view pattern = kPatterns[static_cast<size_t>(click.kind)];
  if (!fields.eof() || length != pattern.size() || click.amplitudes.size() != length) {
    return std::nullopt;
  }
  for (size_t k = 0; k < length; ++k) {
    if ((click.amplitudes[k] != 0) != (pattern[k] == 'x')) return std::nullopt;
  }
  return click;
}

}  // namespace

std::vector<Click> InsertClicks(std::span<int16_t> samples, int32_t sampleRate, uint32_t seed) {
  Dice dice(seed);
  std::vector<Click> clicks;
  // Equal slots, one click in each, with the distance to the next left free at its end.
  const size_t slot = static_cast<size_t>(sampleRate) / kClicksPerSecond;
  const size_t reserved = kClickDistance + kLongestPattern;
  if (slot <= reserved) throw std::runtime_error("sample rate too low for the distance of clicks");
  for (size_t start = kFirstClickPlace; start + slot <= samples.size(); start += slot) {
    const ClickKind kind = kMix[dice.Draw(kMix.size())];
    const int32_t size = kClickSizes[dice.Draw(kClickSizes.size())];
    for (int tries = 0; tries < kTriesPerClick; ++tries) {
      const size_t place = start + dice.Draw(slot - reserved);
      if (auto click = TryClick(samples, kind, size, place, dice)) {
        Apply(*click, samples);
        clicks.push_back(*std::move(click));
        break;
      }
    }
  }
  return clicks;
}

size_t SizeIndex(const Click& click) {
  int32_t amplitude = 0;
  for (const int32_t moved : click.amplitudes) {
    amplitude = std::max(amplitude, std::abs(moved));
  }
  size_t index = 0;
  while (index + 1 < kClickSizes.size() && amplitude >= kClickSizes[index + 1]) {
    ++index;
  }
  return index;
}

void WriteTruth(std::ostream& stream, std::span<const Click> clicks) {
  stream << kTruthHeader << '\n';
  for (const Click& click : clicks) {
    stream << kClickKindNames[static_cast<size_t>(click.kind)] << ',' << click.first << ','
           << click.amplitudes.size() << ',';
    for (size_t k = 0; k < click.amplitudes.size(); ++k) {
      stream << (k == 0 ? "" : " ") << click.amplitudes[k];
    }
    stream << '\n';
  }
}

std::vector<Click> ReadTruth(std::istream& stream) {
  std::string line;
  if (!std::getline(stream, line) || line != kTruthHeader) {
    throw std::runtime_error("the list of clicks lacks its header");
  }
  std::vector<Click> clicks;
  while (std::getline(stream, line)) {
    auto click = ParseClick(line);
    if (!click) throw std::runtime_error("malformed click: " + line);
    clicks.push_back(*std::move(click));
  }
  return clicks;
}

}  // namespace zr::demo
