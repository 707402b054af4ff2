// The builds of each primitive, one for each class of processor. Nothing reads the table yet: a
// step that picks a build would fill the slots from it.
#pragma once

#include "primitives/dispatch/slot_table.h"

namespace zr::primitives {

using PrimitiveEntry = void (*)();

struct VariantRow {
  const void* slot;  ///< In PrimitiveSlotTable.
  PrimitiveEntry px;
  PrimitiveEntry a6;
  PrimitiveEntry w7;
  PrimitiveEntry t7;
};

struct VariantTable {
  VariantRow rows[kPrimitiveCount];
  int32_t count;
};

extern const VariantTable PrimitiveVariantTable;

}  // namespace zr::primitives
