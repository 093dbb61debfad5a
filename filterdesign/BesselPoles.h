#pragma once

#include "filterdesign/Complex.h"
#include "runtime/Types.h"

#include <vector>

namespace nodara::filterdesign {

/// The s-plane poles of the Bessel low-pass of one order, 1 to 10, scaled so that
/// |H(j·1)|² = 1/2: the conjugate pairs, upper one first, then the real pole of an odd order.
/// Computed for all orders at the first call. An order outside 1 to 10 throws std::out_of_range.
const std::vector<Complex>& besselPoles(int32 order);

} // namespace nodara::filterdesign
