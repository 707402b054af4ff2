#include "primitives/dispatch/slot_table.h"

#include "primitives/dispatch/families.h"

namespace zr::primitives {

extern const SlotTable PrimitiveSlotTable = {
#define PRIMITIVE(family, result, name, parameters, summary) \
  ENTRY_##family(result(*) parameters, name),
#define SAME_ENTRY(family, result, name, parameters, summary, other) \
  reinterpret_cast<result(*) parameters>(ENTRY_##family(result(*) parameters, other)),
#include "primitives/primitive_list.def"
};

}  // namespace zr::primitives
