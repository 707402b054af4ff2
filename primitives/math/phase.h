// The angle of a complex number, in double precision. The C libraries' own arctangents differ in
// their last bits; this one is made of operations that every processor rounds the same way.
#pragma once

#include "primitives/types.h"

namespace zr::primitives {

/// In radians, from -pi to pi, with the sign of the imaginary part. A zero stands for a number that
/// is as much smaller as can be, an infinity for one that is larger, equal to other infinities. A
/// NaN in a part gives a NaN.
double PhaseOf(Complex32f number);

}  // namespace zr::primitives
