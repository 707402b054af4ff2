// Truncated files betray themselves only in libsndfile's log: where a header claims more samples
// than the file has, the library quietly goes on with what is there.
#pragma once

#include <sndfile.h>

#include <string_view>

namespace zr::popclean {

/// Whether the log of an opened file says that samples are missing. Sizes that a recorder writes
/// into a header when it cannot go back to correct it are no sign of that. Some containers (IRCAM,
/// NIST, PAF, PVF, XI) say nothing, as the library finds no length in their headers.
bool TellsOfTruncation(std::string_view log, const SF_INFO& info);

}  // namespace zr::popclean
