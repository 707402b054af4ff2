// While px is the only build there is, it stands in for the others.
#include "primitives/dispatch/variant_table.h"

#include "primitives/dispatch/families.h"

namespace zr::primitives {
namespace {

template <typename Function>
constexpr VariantRow Row(const void* slot, Function entry) {
  const auto code = reinterpret_cast<PrimitiveEntry>(entry);
  return {slot, code, code, code, code};
}

}  // namespace

extern const VariantTable PrimitiveVariantTable = {{
#define PRIMITIVE(family, result, name, parameters, summary) \
  Row(&PrimitiveSlotTable.name, ENTRY_##family(result(*) parameters, name)),
#define SAME_ENTRY(family, result, name, parameters, summary, other) \
  Row(&PrimitiveSlotTable.name, ENTRY_##family(result(*) parameters, other)),
#include "primitives/primitive_list.def"
                                                   },
                                                   kPrimitiveCount};

}  // namespace zr::primitives
