#pragma once

#include "filterdesign/BandTransform.h"

namespace nodara::filterdesign {

/// z = (2 + s)/(2 − s), the bilinear transform with the time unit one sample; zeros at
/// infinity land on z = −1, so there are as many zeros as poles.
PoleZeroSet bilinearTransform(const PoleZeroSet& sPlane);

/// z = exp(s), the matched z-transform. Zeros at infinity have no image and stay out; the
/// recurrence then starts its feed-forward part with as many delays.
PoleZeroSet matchedZTransform(const PoleZeroSet& sPlane);

} // namespace nodara::filterdesign
