#pragma once

#include "filterdesign/Complex.h"
#include "filterdesign/Request.h"

#include <vector>

namespace nodara::filterdesign {

/// The s-plane poles of the request's low-pass prototype, corner at 1 rad/s, for its family
/// bit (Bessel, Butterworth or Chebyshev) and order. A Chebyshev ripple that is not below 0
/// (in double precision: 10^(−ripple/10) must exceed 1), or so large that the pole spread
/// vanishes, throws NodaraException.
std::vector<Complex> prototypePoles(const Request& request);

} // namespace nodara::filterdesign
