// All vector primitives, for callers that want them with one line.
#pragma once

#include "primitives/arithmetic.h"
#include "primitives/conversion.h"
#include "primitives/fft/fft.h"
#include "primitives/filters/correlation.h"
#include "primitives/filters/fir.h"
#include "primitives/filters/fir_design.h"
#include "primitives/integer_arithmetic.h"
#include "primitives/integer_functions.h"
#include "primitives/library.h"
#include "primitives/memory.h"
#include "primitives/random.h"
#include "primitives/sorting.h"
#include "primitives/statistics.h"
#include "primitives/thresholds.h"
#include "primitives/types.h"
