// gnuplot as a program: a script goes in, a picture comes out.
#pragma once

#include <string>

namespace zr::popclean {

/// Throws a Failure if gnuplot cannot be started.
void CheckGnuplot();

/// Runs a script whose terminal draws to standard output, which is the given descriptor. Throws a
/// Failure with gnuplot's own words if it fails.
void RunGnuplot(const std::string& script, int outputDescriptor);

/// A text as a string of gnuplot's language.
std::string GnuplotString(const std::string& text);

}  // namespace zr::popclean
