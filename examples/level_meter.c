// Tells peak and RMS level of raw 16-bit samples, block by block, in decibels below full scale.
//
//   arecord -t raw -f S16_LE -r 48000 | level_meter 48000
//
// The argument is the length of a block in samples. For each block one line: the number of its
// first sample, the peak, the RMS level.
//
//        0   -6.02   -9.03
//    48000    -inf    -inf
#include <math.h>
#include <primitives/primitives.h>
#include <stdio.h>
#include <stdlib.h>

static double Decibels(double magnitude) { return 20.0 * log10(magnitude); }

int main(int argumentCount, char** arguments) {
  const int32_t blockLength = argumentCount == 2 ? (int32_t)strtol(arguments[1], NULL, 10) : 0;
  if (blockLength < 1) {
    fprintf(stderr, "usage: level_meter BLOCK_LENGTH < SAMPLES\n");
    return 2;
  }
  int16_t* samples = ippsMalloc_16s(blockLength);
  float* levels = ippsMalloc_32f(blockLength);
  if (samples == NULL || levels == NULL) {
    fprintf(stderr, "level_meter: no memory for %d samples\n", (int)blockLength);
    ippsFree(levels);
    ippsFree(samples);
    return 1;
  }

  long long first = 0;
  for (;;) {
    const int32_t n = (int32_t)fread(samples, sizeof *samples, (size_t)blockLength, stdin);
    if (n == 0) break;
    // 2^-15 makes full scale 1, which a magnitude of 16 bits would miss: 32768 saturates there.
    ippsConvert_16s32f_Sfs(samples, levels, n, 15);
    float energy;
    ippsDotProd_32f(levels, levels, n, &energy);
    ippsAbs_32f_I(levels, n);
    float peak;
    ippsMax_32f(levels, n, &peak);
    printf("%8lld %7.2f %7.2f\n", first, Decibels(peak), Decibels(sqrt((double)energy / n)));
    first += n;
  }
  ippsFree(levels);
  ippsFree(samples);
  return 0;
}
