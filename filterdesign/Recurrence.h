#pragma once

#include "filterdesign/BandTransform.h"

#include <vector>

namespace nodara::filterdesign {

/// y[n] = Σ b[i]·x[n−i] − Σ a[i]·y[n−1−i], in double precision.
struct Recurrence {
    std::vector<double> a;
    std::vector<double> b;
};

/// Multiplies out H(z) = Π(z − zero) / Π(z − pole) into a recurrence scaled to unity gain at
/// `unityPoint` on the unit circle. Throws NodaraException when a polynomial keeps an
/// imaginary part ("poles/zeros not complex conjugates") or the zeros outnumber the poles.
Recurrence expand(const PoleZeroSet& zPlane, Complex unityPoint);

} // namespace nodara::filterdesign
