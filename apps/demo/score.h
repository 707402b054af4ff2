// How well a click filter did: its repairs held against the clicks that were laid.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/demo/clicks.h"

namespace zr::demo {

/// One line of popclean's list of repairs.
struct Repair {
  size_t sample = 0;  ///< Position in the input.
  int32_t before = 0;
  int32_t after = 0;
};

/// Reads the columns sample, before and after of a list of repairs, whatever their order.
/// Throws std::runtime_error if one is missing or a line is malformed.
std::vector<Repair> ReadRepairs(std::istream& stream);

/// The multiple of real time that popclean's summary tells, the number before "x real time" or
/// "times real time"; nothing if there is none.
std::optional<double> FindSpeed(const std::string& summary);

/// What became of a set of clicks.
struct Tally {
  size_t inserted = 0;
  size_t repaired = 0;        ///< Every sample of the click was repaired.
  size_t partly = 0;          ///< Some were.
  size_t missed = 0;          ///< None was.
  size_t samples = 0;         ///< Samples that the clicks moved.
  double energyBefore = 0.0;  ///< Sum of ((clicked - clean) / 32768)^2 over these samples.
  double energyAfter = 0.0;   ///< Sum of ((cleaned - clean) / 32768)^2 over these samples.
};

/// Mean energy of a click sample in decibels: 0 is an error of full scale at every sample.
double MeanDecibels(double energy, size_t samples);

struct Score {
  std::array<Tally, kClickKindNames.size()> byKind;
  std::array<Tally, kClickSizes.size()> bySize;
  Tally all;
  double wholeEnergyBefore = 0.0;  ///< As in Tally, but over every sample of the recording.
  double wholeEnergyAfter = 0.0;
  size_t wholeSamples = 0;
  size_t repairsOutsideClicks = 0;  ///< In the run on the clicked recording.
  size_t falseRepairs = 0;          ///< In the run on the clean recording.
  int32_t largestFalseChange = 0;   ///< Of these, in steps of 16 bits.
};

/// Two runs of the filter on one recording. The samples are aligned with each other.
struct Runs {
  std::span<const int16_t> clean;
  std::span<const int16_t> clicked;
  std::span<const int16_t> cleaned;
  std::span<const Click> clicks;
  std::span<const Repair> repairs;       ///< Of the clicked recording.
  std::span<const Repair> cleanRepairs;  ///< Of the clean recording.
};

/// Throws std::runtime_error if the runs contradict each other: lengths differ, clicked is not
/// clean plus the clicks, or cleaned is not clicked plus the repairs, bit for bit.
Score ScoreRuns(const Runs& runs);

/// The score as a table, by kind, by size and over all.
void PrintScore(std::ostream& stream, const Score& score);

}  // namespace zr::demo
