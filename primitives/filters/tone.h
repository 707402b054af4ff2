// A cosine of any frequency, each entry right to a few units in its own last place: near its zeros
// and at the lowest frequencies too.
#pragma once

#include <cstdint>

namespace zr::primitives {

/// magnitude * cos(2 pi (frequency * (n + start) + phase)) at n. All angles are in turns.
struct Tone {
  double magnitude;
  double frequency;  ///< Turns per sample.
  double start;      ///< Where the first sample stands, a multiple of a half.
  double phase;      ///< At place 0, a multiple of a quarter if zeros are to be told exactly.
};

/// d[n] = the tone at n, for n in [0, count). Returns -8 if d is null, then -6 if count < 1, then
/// -46 if the magnitude is not above 0, -45 if the frequency is not within [0, 0.5), -44 if the
/// phase is not within [0, 1), with nothing written.
int32_t GenerateTone(const Tone& tone, double* d, int32_t count);

/// cos(2 pi turns) for |turns| below 2^29, with the same bits in every build.
double CosineOfTurns(double turns);

}  // namespace zr::primitives
