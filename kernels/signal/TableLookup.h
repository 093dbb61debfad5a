#pragma once

#include "runtime/Types.h"

#include <xmmintrin.h>

namespace nodara::kernels {

/// One input through a table of `last` + 1 output values over evenly spaced inputs, entry i
/// standing for vinMin + i·deltaV, inverse = 1/deltaV, in single precision and in this order
/// of operations, so that every build gives the same bits. The fraction is measured in volts
/// from float(i)·deltaV, not taken from the product; the truncation is the processor's (out of
/// range or NaN gives the smallest integer, and so table[0]).
///
/// For callers compiled for the baseline instruction set only: an inline copy compiled for a
/// wider one could be the one the linker keeps.
inline scalar lookupOne(scalar x, const scalar* table, int32 last, scalar vinMin, scalar deltaV,
                        scalar inverse) {
    const scalar d = x - vinMin;
    const int32 i = _mm_cvtt_ss2si(_mm_set_ss(inverse * d));
    if (i < 1) {
        return table[0];
    }
    if (i >= last) {
        return table[last];
    }
    const scalar a = table[i];
    const scalar b = table[i + 1];
    if (a == b) {
        return a;
    }
    return ((d - static_cast<scalar>(i) * deltaV) * (b - a)) * inverse + a;
}

} // namespace nodara::kernels
