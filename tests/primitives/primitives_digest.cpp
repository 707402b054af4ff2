// Prints one line for each primitive. The presets must print the same lines.
#include "tests/primitives/family_digests.h"

int main() {
  zr::test::PrintPlainDigests();
  return 0;
}
