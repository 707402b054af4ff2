// For the preprocessor alone: one line for each primitive. It says whether this build has the
// primitive, and goes on as a declaration of a pointer to it, of the type that the list tells.
#include "primitives/dispatch/families.h"

#undef IS_IN
#undef IS_OUT
#define IS_IN(type, name) present
#define IS_OUT(type, name) absent

#define PRIMITIVE(family, result, name, parameters, summary) \
  primitive ENTRY_##family(, ) : result(*const pointer_##name) parameters = name;
#include "primitives/primitive_list.def"
