#pragma once

#include "runtime/Types.h"

namespace nodara {

/// The LU kernels' plain-loop arithmetic (partial pivoting on columns, the first of equal
/// pivots kept, reciprocals by the hardware estimate and one Newton step), compiled for each
/// order up to `smallLuOrders` so that a circuit's small Jacobian is factorised without loop
/// overhead: unrolled in full up to order 8, column by column four rows at a time above (where
/// the steps that would subtract zeros are left out). Same arguments and results as
/// kernels::ludcmp and kernels::lubksb, bit for bit (but for the sign of a zero).
struct SmallLu {
    int32 (*ludcmp)(scalar* a, int32 lda, int32* ipiv);
    int32 (*lubksb)(const scalar* a, int32 lda, const int32* ipiv, const scalar* b, scalar* x);
};

inline constexpr int32 smallLuOrders = 12;

/// The forms for order n, 1 ≤ n ≤ smallLuOrders.
const SmallLu& smallLuFor(int32 n);

} // namespace nodara
