// The contenders of bench_fir: filters of a stream of 16-bit samples that comes in blocks of one
// length.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace zr::bench {

/// Filters the next block of the stream: blockLength samples.
using Filter = std::function<void(const int16_t* source, int16_t* destination)>;

// The taps add up to about a half, so that no sum has to be saturated.

Filter OurFilter(const std::vector<float>& taps, int32_t blockLength);

/// The plainest loop, with the bits of our direct convolution.
Filter PlainFilter(const std::vector<float>& taps, int32_t blockLength);

// liquid-dsp, which filters floats; the conversions around it are our primitives.

/// Its direct convolution.
Filter LiquidFilter(const std::vector<float>& taps, int32_t blockLength);
/// Its convolution by the Fourier transform, empty where the taps are more than a block takes.
Filter LiquidTransformFilter(const std::vector<float>& taps, int32_t blockLength);

}  // namespace zr::bench
