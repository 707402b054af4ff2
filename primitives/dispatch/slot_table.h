// One slot for each primitive, through which every call from outside goes. The slots hold the px
// build from load on, and nothing writes them.
#pragma once

#include "primitives/dispatch/px_entries.h"

namespace zr::primitives {

inline constexpr int32_t kPrimitiveCount = 241;

/// 241 code pointers in slot order.
struct SlotTable {
#define PRIMITIVE(family, result, name, parameters, summary) result(*name) parameters;
#include "primitives/primitive_list.def"
};
static_assert(sizeof(SlotTable) == kPrimitiveCount * sizeof(void (*)()));

// Hidden, so that a stub reaches it without a detour through a table of addresses.
#pragma GCC visibility push(hidden)
extern const SlotTable PrimitiveSlotTable;
#pragma GCC visibility pop

}  // namespace zr::primitives
