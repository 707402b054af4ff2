// The plain contenders: each primitive once more, under its own name and signature, as the one loop
// that a careful programmer would write for the same bits. Lengths and pointers are taken on trust.
#pragma once

#include <cstdint>

#include "primitives/library.h"
#include "primitives/types.h"

namespace zr::bench::plain {

#define PRIMITIVE(family, result, name, parameters, summary) result name parameters;
#include "primitives/primitive_list.def"

}  // namespace zr::bench::plain

/// One plain contender: its statement, for each i from 0 to n - 1.
#define PLAIN_LOOP(name, parameters, ...) \
  int32_t name parameters {               \
    for (int32_t i = 0; i < n; ++i) {     \
      __VA_ARGS__;                        \
    }                                     \
    return 0;                             \
  }
