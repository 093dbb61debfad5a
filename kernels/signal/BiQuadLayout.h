#pragma once

#include "runtime/Types.h"

namespace nodara::kernels {

/// Rows of the lane layout of a biquad cascade: coefficients b0, b1, b2, a1, a2 and state
/// x[n−1], x[n−2], y[n−1], y[n−2], one row each, stage s in column s.
enum BiQuadRow : int32 { rowB0, rowB1, rowB2, rowA1, rowA2, biQuadRows };
enum BiQuadStateRow : int32 { rowX1, rowX2, rowY1, rowY2, biQuadStateRows };

} // namespace nodara::kernels
