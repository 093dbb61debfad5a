#pragma once

#include "filterdesign/Complex.h"
#include "filterdesign/Request.h"

#include <vector>

namespace nodara::filterdesign {

/// Poles and zeros in one plane. In the s-plane, zeros at infinity are left out: there are
/// as many of them as poles beyond the zeros.
struct PoleZeroSet {
    std::vector<Complex> poles;
    std::vector<Complex> zeros;
};

/// A corner as a fraction of the sample rate, pre-warped so that the bilinear transform
/// brings it back to fc: w = tan(π·fc)/π. Without pre-warping, and with matched z, fc itself.
double warpedCorner(double fc, unsigned options);

/// The low-pass prototype (corner at 1 rad/s) moved to the request's band, with the corners
/// at ω = 2π·w in radians per sample.
PoleZeroSet transformBand(const std::vector<Complex>& prototype, const Request& request);

} // namespace nodara::filterdesign
