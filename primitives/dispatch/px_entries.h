// The px build's entry of every primitive. Inside the build a primitive calls another through
// these, never through a slot.
#pragma once

#include <cstdint>

#include "primitives/library.h"
#include "primitives/types.h"

namespace zr::primitives::px {

#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"

}  // namespace zr::primitives::px
