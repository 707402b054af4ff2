// Scores the repair of clicks at known places.
#include "apps/demo/score.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <istream>
#include <limits>
#include <ostream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace zr::demo {

namespace {

constexpr double kFullScale = 32768.0;

std::vector<std::string> SplitAtCommas(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, ',');) {
    fields.push_back(field);
  }
  return fields;
}

size_t ColumnOf(const std::vector<std::string>& header, const std::string& name) {
  const auto found = std::ranges::find(header, name);
  if (found == header.end()) throw std::runtime_error("the list of repairs lacks " + name);
  return static_cast<size_t>(found - header.begin());
}

template <typename Number>
Number ParseNumber(const std::vector<std::string>& fields, size_t column) {
  Number number = {};
  if (column >= fields.size()) throw std::runtime_error("a line of repairs is too short");
  std::istringstream stream(fields[column]);
  if (!(stream >> number)) throw std::runtime_error("malformed repair: " + fields[column]);
  return number;
}

double Energy(int32_t from, int32_t to) {
  const double difference = (to - from) / kFullScale;
  return difference * difference;
}

void CheckAgreement(const Runs& runs) {
  if (runs.clean.size() != runs.clicked.size() || runs.clean.size() != runs.cleaned.size()) {
    throw std::runtime_error("clean, clicked and cleaned recording differ in length");
  }
  std::vector<int32_t> clicked(runs.clean.begin(), runs.clean.end());
  for (const Click& click : runs.clicks) {
    if (click.first > clicked.size() || click.amplitudes.size() > clicked.size() - click.first) {
      throw std::runtime_error("a click lies behind the end of the recording");
    }
    for (size_t k = 0; k < click.amplitudes.size(); ++k) {
      clicked[click.first + k] += click.amplitudes[k];
    }
  }
  if (!std::ranges::equal(clicked, runs.clicked)) {
    throw std::runtime_error("the clicked recording is not the clean one with these clicks");
  }
  std::vector<int32_t> cleaned(std::move(clicked));
  for (const Repair& repair : runs.repairs) {
    if (repair.sample >= cleaned.size() || cleaned[repair.sample] != repair.before) {
      throw std::runtime_error("a repair names a sample that the clicked recording does not hold");
    }
    cleaned[repair.sample] = repair.after;
  }
  if (!std::ranges::equal(cleaned, runs.cleaned)) {
    throw std::runtime_error("the cleaned recording is not the clicked one with these repairs");
  }
}

Tally TallyOf(const Click& click, const Runs& runs, const std::vector<bool>& isRepaired) {
  Tally tally{.inserted = 1};
  size_t repairedSamples = 0;
  for (size_t k = 0; k < click.amplitudes.size(); ++k) {
    if (click.amplitudes[k] == 0) continue;
    const size_t i = click.first + k;
    ++tally.samples;
    if (isRepaired[i]) ++repairedSamples;
    tally.energyBefore += Energy(runs.clean[i], runs.clicked[i]);
    tally.energyAfter += Energy(runs.clean[i], runs.cleaned[i]);
  }
  size_t& outcome = repairedSamples == tally.samples ? tally.repaired
                    : repairedSamples > 0            ? tally.partly
                                                     : tally.missed;
  outcome = 1;
  return tally;
}

void Add(Tally& sum, const Tally& part) {
  sum.inserted += part.inserted;
  sum.repaired += part.repaired;
  sum.partly += part.partly;
  sum.missed += part.missed;
  sum.samples += part.samples;
  sum.energyBefore += part.energyBefore;
  sum.energyAfter += part.energyAfter;
}

void PrintDecibels(std::ostream& stream, double energyBefore, double energyAfter, size_t samples) {
  if (samples == 0) return;
  const double before = MeanDecibels(energyBefore, samples);
  const double after = MeanDecibels(energyAfter, samples);
  stream << std::setw(11) << before << std::setw(10) << after << std::setw(10) << after - before;
}

void PrintRow(std::ostream& stream, const std::string& name, const Tally& tally) {
  stream << "  " << std::left << std::setw(13) << name << std::right << std::setw(9)
         << tally.inserted << std::setw(10) << tally.repaired << std::setw(8) << tally.partly
         << std::setw(8) << tally.missed;
  PrintDecibels(stream, tally.energyBefore, tally.energyAfter, tally.samples);
  stream << '\n';
}

}  // namespace

std::vector<Repair> ReadRepairs(std::istream& stream) {
  std::string line;
  std::getline(stream, line);
  const auto header = SplitAtCommas(line);
  const size_t sample = ColumnOf(header, "sample");
  const size_t before = ColumnOf(header, "before");
  const size_t after = ColumnOf(header, "after");
  std::vector<Repair> repairs;
  while (std::getline(stream, line)) {
    const auto fields = SplitAtCommas(line);
    repairs.push_back({.sample = ParseNumber<size_t>(fields, sample),
                       .before = ParseNumber<int32_t>(fields, before),
                       .after = ParseNumber<int32_t>(fields, after)});
  }
  return repairs;
}

std::optional<double> FindSpeed(const std::string& summary) {
  static const std::regex kSpeed(R"(([0-9]+(\.[0-9]+)?)\s*(x|times)\s+real[ -]time)");
  std::smatch match;
  if (!std::regex_search(summary, match, kSpeed)) return std::nullopt;
  return std::stod(match[1].str());
}

double MeanDecibels(double energy, size_t samples) {
  return 10.0 * std::log10(energy / static_cast<double>(samples));
}

Score ScoreRuns(const Runs& runs) {
  CheckAgreement(runs);
  std::vector<bool> isRepaired(runs.clean.size());
  for (const Repair& repair : runs.repairs) {
    isRepaired[repair.sample] = true;
  }
  Score score;
  std::vector<bool> isClick(runs.clean.size());
  for (const Click& click : runs.clicks) {
    const Tally tally = TallyOf(click, runs, isRepaired);
    Add(score.byKind[static_cast<size_t>(click.kind)], tally);
    Add(score.bySize[SizeIndex(click)], tally);
    Add(score.all, tally);
    for (size_t k = 0; k < click.amplitudes.size(); ++k) {
      if (click.amplitudes[k] != 0) isClick[click.first + k] = true;
    }
  }
  score.wholeSamples = runs.clean.size();
  for (size_t i = 0; i < runs.clean.size(); ++i) {
    score.wholeEnergyBefore += Energy(runs.clean[i], runs.clicked[i]);
    score.wholeEnergyAfter += Energy(runs.clean[i], runs.cleaned[i]);
  }
  score.repairsOutsideClicks = static_cast<size_t>(std::ranges::count_if(
      runs.repairs, [&](const Repair& repair) { return !isClick[repair.sample]; }));
  score.falseRepairs = runs.cleanRepairs.size();
  for (const Repair& repair : runs.cleanRepairs) {
    score.largestFalseChange =
        std::max(score.largestFalseChange, std::abs(repair.after - repair.before));
  }
  return score;
}

void PrintScore(std::ostream& stream, const Score& score) {
  stream << std::fixed << std::setprecision(1)
         << "  clicks        inserted  repaired  partly  missed  before dB  after dB    change\n";
  for (size_t k = 0; k < score.byKind.size(); ++k) {
    PrintRow(stream, std::string(kClickKindNames[k]), score.byKind[k]);
  }
  for (size_t k = 0; k < score.bySize.size(); ++k) {
    PrintRow(stream, "about " + std::to_string(kClickSizes[k]), score.bySize[k]);
  }
  PrintRow(stream, "all", score.all);
  stream << "  " << std::left << std::setw(48) << "error over the whole recording" << std::right;
  PrintDecibels(stream, score.wholeEnergyBefore, score.wholeEnergyAfter, score.wholeSamples);
  stream << '\n'
         << "  Repairs outside the clicks: " << score.repairsOutsideClicks
         << ". False repairs on the clean recording: " << score.falseRepairs;
  if (score.falseRepairs > 0) {
    stream << ", the largest by " << score.largestFalseChange << " of 32768";
  }
  stream << ".\n";
}

}  // namespace zr::demo
