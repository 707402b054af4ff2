// While px is the only build there is, it stands in for the others.
#include "primitives/dispatch/variant_table.h"

#include "primitives/dispatch/families.h"

namespace zr::primitives {

extern const VariantTable PrimitiveVariantTable = {{
#define ROW(slot, entry)                                                             \
  {&PrimitiveSlotTable.slot, reinterpret_cast<PrimitiveEntry>(entry),                \
   reinterpret_cast<PrimitiveEntry>(entry), reinterpret_cast<PrimitiveEntry>(entry), \
   reinterpret_cast<PrimitiveEntry>(entry)},
#define PRIMITIVE(family, result, name, parameters, summary) \
  ROW(name, ENTRY_##family(result(*) parameters, name))
#define SAME_ENTRY(family, result, name, parameters, summary, other) \
  ROW(name, ENTRY_##family(result(*) parameters, other))
#include "primitives/primitive_list.def"
                                                   },
                                                   kPrimitiveCount};

}  // namespace zr::primitives
