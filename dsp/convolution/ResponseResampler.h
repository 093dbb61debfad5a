#pragma once

#include "runtime/Types.h"

#include <vector>

namespace nodara {

/// An impulse response of n samples at `fromRate` brought to `toRate` (hertz, both > 0):
/// round(n·toRate/fromRate) samples from a very-high-quality band-limited converter, in
/// double precision, each multiplied by fromRate/toRate. The converter keeps the level of a
/// signal; the factor keeps the gain of the response as a filter, whose taps grow in number
/// with the rate. A response too short to leave a sample becomes empty.
/// Not while processing; allocates.
std::vector<scalar> resampleResponse(const std::vector<scalar>& samples, double fromRate,
                                     double toRate);

} // namespace nodara
