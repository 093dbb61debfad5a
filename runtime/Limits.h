#pragma once

#include "runtime/Types.h"

#include <string_view>

namespace nodara::limits {

// What a document may ask for. Each bound stands far above any real use, and together they keep
// a document that is accepted from running for minutes or eating gigabytes over a short file:
// a typing slip, or a number past the integer range, is refused at once with its name.

/// Rate ratio of one resampling element.
inline constexpr int32 factor = 16;
/// Rate of a graph relative to the system rate: the product of the ratios upstream.
inline constexpr double rateMultiplier = 256.0;
/// Order of a filter designed at run time: what the design core can do.
inline constexpr int32 designedOrder = 10;
/// Order of a recursive filter whose coefficients are given.
inline constexpr int32 order = 64;
/// Stages of a resampling cascade.
inline constexpr int32 cascade = 64;
/// Passes per sample of an Iterative graph.
inline constexpr int32 iterations = 1000;
/// Samples of an impulse response in use: 21 s at 48 kHz.
inline constexpr int32 responseSamples = 1 << 20;
/// Inputs of a graph, or of one element.
inline constexpr int32 inputs = 65536;

/// Throws InvalidArgumentException "<owner>: <name> must be at most <bound>. <name>=<value>"
/// when `value` is above `bound`, or is not a number. Allocates only then.
void requireAtMost(std::string_view owner, std::string_view name, double value, double bound);

} // namespace nodara::limits
