#pragma once

#include "runtime/Types.h"

#include <xmmintrin.h>

namespace nodara::kernels {

/// The index of the entry at or below `x` in a table whose entry i stands for
/// vinMin + i·deltaV, inverse = 1/deltaV; the truncation is the processor's (out of range or
/// NaN gives the smallest integer).
inline int32 lookupIndex(scalar x, scalar vinMin, scalar inverse) {
    return _mm_cvtt_ss2si(_mm_set_ss(inverse * (x - vinMin)));
}

/// One input through a table of `last` + 1 output values over evenly spaced inputs, in single
/// precision and in this order of operations, so that every build gives the same bits. The
/// fraction is measured in volts from float(i)·deltaV, not taken from the product; an index
/// below 1 gives table[0].
///
/// For callers compiled for the baseline instruction set only: an inline copy compiled for a
/// wider one could be the one the linker keeps.
inline scalar lookupOne(scalar x, const scalar* table, int32 last, scalar vinMin, scalar deltaV,
                        scalar inverse) {
    const scalar d = x - vinMin;
    const int32 i = lookupIndex(x, vinMin, inverse);
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
