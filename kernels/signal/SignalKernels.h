#pragma once

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

} // namespace nodara::kernels
