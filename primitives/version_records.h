// One version record for each build of the primitives.
#pragma once

#include "primitives/library.h"

namespace zr::primitives {

inline constexpr LibraryVersionRecord kVersionOfPx = {
    4, 1, 11, 88, "px", "ippspxl.lib", "v4.1", "Jul 19 2004"};
inline constexpr LibraryVersionRecord kVersionOfA6 = {
    4, 1, 11, 88, "a6", "ippsa6l.lib", "v4.1", "Jul 20 2004"};
inline constexpr LibraryVersionRecord kVersionOfW7 = {
    4, 1, 11, 88, "w7", "ippsw7l.lib", "v4.1", "Jul 20 2004"};
inline constexpr LibraryVersionRecord kVersionOfT7 = {
    4, 1, 11, 88, "t7", "ippst7l.lib", "v4.1", "Jul 20 2004"};

}  // namespace zr::primitives
