// Prints the page with the table of all primitives, from the list.
#include <cstdio>

namespace {

struct Primitive {
  const char* family;
  const char* name;
  const char* result;
  const char* parameters;
  const char* summary;
};

constexpr Primitive kPrimitives[] = {
#define PRIMITIVE(family, result, name, parameters, summary) \
  {#family, #name, #result, #parameters, summary},
#include "primitives/primitive_list.def"
};

}  // namespace

int main() {
  std::puts(
      "# All primitives {#table}\n\n"
      "In slot order: the number is the primitive's place in the table of code pointers that every "
      "call goes through.\n\n"
      "| Slot | Primitive | Family | Signature | What it computes |\n"
      "|---:|---|---|---|---|");
  int slot = 0;
  for (const Primitive& p : kPrimitives) {
    // Parentheses make a name a link to its text.
    std::printf("| %d | %s() | %s | `%s %s%s` | %s |\n", slot++, p.name, p.family, p.result, p.name,
                p.parameters, p.summary);
  }
}
