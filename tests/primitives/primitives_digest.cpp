// Prints one line for each primitive. The presets must print the same lines.
#include "tests/primitives/family_digests.h"

int main() {
  zr::test::PrintIirDigests();
  zr::test::PrintLmsDigests();
  zr::test::PrintNoiseSuppressionDigests();
  zr::test::PrintWaveletDigests();
  zr::test::PrintResamplingDigests();
  zr::test::PrintPlainDigests();
  zr::test::PrintFirDigests();
  zr::test::PrintFftDigests();
  zr::test::PrintSingleMathDigests();
  zr::test::PrintDoubleMathDigests();
  return 0;
}
