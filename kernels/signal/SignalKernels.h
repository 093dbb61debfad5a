#pragma once

#include "kernels/signal/BiQuadLayout.h"
#include "kernels/signal/FusedChain.h"
#include "runtime/Types.h"

// Block kernels of the signal path, each run by the build for the instruction set detected at
// the first call (SSE2, AVX2 or AVX-512). Every build gives the same bits as the plain loops of
// the reference build: the lanes only change which values are computed side by side, never the
// arithmetic of one value or its order. Arrays need no alignment; pointers are not checked.
namespace nodara::kernels {

/// Complex spectra as interleaved (real, imaginary) floats:
///     sum[k] = Σ_{t < terms} spectra[t][k] · responses[t·responseStride + k]
/// for the first `complexCount` values, a multiple of 8; the terms are added in order of t, each
/// product as (xr·hr − xi·hi, xi·hr + xr·hi). responseStride counts floats.
void sumOfSpectrumProducts(int32 complexCount, int32 terms, const scalar* const* spectra,
                           const scalar* responses, int32 responseStride, scalar* sum);

/// The smallest row stride of the lane layout (BiQuadLayout.h) for `stages` stages: a
/// multiple of the widest lane count.
inline int32 biQuadRowStride(int32 stages) { return (stages + 15) / 16 * 16; }

/// A cascade of `stages` biquads over `frames` frames, each stage exactly as one biquad alone:
///     y[n] = (((b0·x[n] + b1·x[n−1]) + b2·x[n−2]) − a1·y[n−1]) − a2·y[n−2],
/// stage s + 1 fed by stage s. The stages run side by side in vector lanes, stage s working
/// some samples behind stage s − 1, so that their recursions overlap. `coefficients` holds the
/// five rows and `state` the four rows of the lane layout, `rowStride` floats apart (at least
/// biQuadRowStride(stages)); the state carries over from call to call. `out` may be `in`.
void biQuadCascade(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                   const scalar* in, scalar* out, int32 frames);

/// Each of `frames` inputs through a table of `last` + 1 output values, exactly as lookupOne
/// (TableLookup.h) does it. `out` may be `in`.
void tableLookup(const scalar* table, int32 last, scalar vinMin, scalar deltaV, scalar inverse,
                 const scalar* in, scalar* out, int32 frames);

} // namespace nodara::kernels
