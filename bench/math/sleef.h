// The contenders of SLEEF: primitives once more, under their own names and signatures. Lengths are
// multiples of four.
#pragma once

#include <cstdint>

#include "primitives/library.h"
#include "primitives/types.h"

namespace zr::bench::sleef {

#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"

}  // namespace zr::bench::sleef
