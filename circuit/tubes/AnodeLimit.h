#pragma once

#include "runtime/Types.h"

#include <algorithm>

namespace nodara {

// How a tube conditions the voltages a Newton step proposes (V), before its laws see them.

/// v, or 0 unless v is at least 0 (a NaN too).
inline scalar notBelowZero(scalar v) { return v >= 0.0f ? v : 0.0f; }

/// The anode not below grid or cathode, and, once `last` (the anode of the last evaluation) is
/// above 0, within a factor of two of it: a cold start of a high-gain stage climbs instead of
/// overshooting.
inline scalar limitAnode(scalar vp, scalar vg, scalar vk, scalar last) {
    vp = std::max(vp, std::max(vg, vk));
    if (last > 0.0f) {
        vp = std::min(std::max(vp, 0.5f * last), 2.0f * last);
    }
    return vp;
}

} // namespace nodara
