// The command line of popclean.
#pragma once

#include <optional>

#include "apps/popclean/clean_job.h"

namespace zr::popclean {

/// The exit codes of the program.
inline constexpr int kExitFailure = 1;
inline constexpr int kExitBadCommandLine = 2;

/// Returns the job that is asked for, or nothing where the command line is answered already (help,
/// version, a mistake); exitCode says how to end then.
std::optional<JobOptions> ParseCommandLine(int argumentCount, const char* const* arguments,
                                           int& exitCode);

}  // namespace zr::popclean
