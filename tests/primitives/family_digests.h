// Each prints one line for each primitive of its families: a digest and the primitive's name.
#pragma once

namespace zr::test {

void PrintDoubleMathDigests();
void PrintFftDigests();
void PrintFirDigests();
void PrintIirDigests();
void PrintLmsDigests();
void PrintNoiseSuppressionDigests();
void PrintPlainDigests();
void PrintResamplingDigests();
void PrintSingleMathDigests();
void PrintWaveletDigests();

}  // namespace zr::test
