// All vector primitives, for callers that want them with one line.
#pragma once

#include "primitives/arithmetic.h"
#include "primitives/conversion.h"
#include "primitives/library.h"
#include "primitives/memory.h"
#include "primitives/random.h"
#include "primitives/statistics.h"
#include "primitives/thresholds.h"
#include "primitives/types.h"
