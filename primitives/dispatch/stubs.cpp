// The public name of each primitive: one indirect jump through its slot. Without a frame of its own
// it hands arguments, return address and result through untouched.
#include "primitives/dispatch/slot_table.h"
#include "primitives/primitives.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

using zr::primitives::PrimitiveSlotTable;

// Of all that the library holds, these alone are exported.
#pragma GCC visibility push(default)

#define PRIMITIVE(family, result, name, parameters, summary) \
  extern "C" [[gnu::naked]] result name parameters {         \
    asm("jmp *%0" : : "m"(PrimitiveSlotTable.name));         \
  }
#include "primitives/primitive_list.def"
