// The filter's writable parameters as a user sets them: one table that the command line, its help
// and the filter bank share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "popfilter/pops.h"

namespace zr::popclean {

struct FilterParameter {
  uint32_t id;        ///< One of POPS_ID_...
  const char* name;   ///< Of the option, without dashes.
  const char* unit;   ///< Empty where there is none.
  uint32_t standard;  ///< Default.
  uint32_t lowest;
  uint32_t highest;
  const char* meaning;
};

inline constexpr std::size_t kFilterParameterCount = 8;

/// In the order of the help text.
extern const std::array<FilterParameter, kFilterParameterCount> kFilterParameters;

/// One value for each row of kFilterParameters.
struct FilterSettings {
  FilterSettings();

  /// The value of the parameter with this id, which must be in the table.
  uint32_t Value(uint32_t id) const;

  std::array<uint32_t, kFilterParameterCount> values;
};

}  // namespace zr::popclean
