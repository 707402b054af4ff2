// Numbers of things in sentences.
#pragma once

#include <cstdint>
#include <string>

namespace zr::popclean {

/// "1 repair", "2 repairs".
inline std::string Counted(int64_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace zr::popclean
