#pragma once

#include "runtime/Types.h"

namespace nodara::koren {

/// The parameters of Koren's triode anode law.
struct TriodeLaw {
    double vct;
    double kp;
    double kvb;
    double mu;
    double ex;
    double kg;
};

/// One row of the anode table, four points at a time: for each j < count, the current, dI/dVgk
/// and dI/dVpk at (vg, vp[j]) go to out[3j .. 3j + 2], each narrowed to float, and the current
/// alone, at (currentVg, vp[j]), replaces the first when currentVg differs from vg. The same
/// operations in the same order as the law point by point, with the vector exponential,
/// logarithm and power of the C library (within a few units in the last place of a double, so
/// the floats almost always agree bit for bit). vp must hold a whole number of fours, every
/// value above 0. Needs AVX2: call only where kernels::instructionSetLevel() says so.
void triodeRowAvx2(const TriodeLaw& law, double vg, double currentVg, const double* vp,
                   int32 count, scalar* out);

} // namespace nodara::koren
