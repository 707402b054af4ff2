// Sine and cosine for the tables. The platform's own differ in their last bits from machine to
// machine; these give the same bits everywhere, and all but always the nearest double.
#pragma once

namespace zr::primitives::px {

/// For angles from 0 to an eighth of a turn. Of a thousand results less than one is not the nearest
/// double but its neighbour.
double SineWithinEighth(double angle);
double CosineWithinEighth(double angle);

}  // namespace zr::primitives::px
