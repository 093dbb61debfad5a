#pragma once

#include "runtime/Types.h"

namespace nodara::kernels {

/// The kinds of single-input, single-output step a fused chain runs between its interpolator
/// and its decimator, each with the arithmetic of its element, in its element's order:
///   Gain:        y = x·g
///   Lookup:      as lookupOne (TableLookup.h)
///   FirstOrder:  y = (b0·x + b1·x1) − a1·y1
///   SecondOrder: y = (((b0·x + b1·x1) + b2·x2) − a1·y1) − a2·y2
enum class ChainStepKind : int32 { Gain, Lookup, FirstOrder, SecondOrder };

/// One step: its coefficients in force for the block and, for the recursions, its state
/// (x[n−1], x[n−2], y[n−1], y[n−2]), read at the start and written back at the end.
struct ChainStep {
    ChainStepKind kind = ChainStepKind::Gain;
    /// Gain: g. FirstOrder: b0, b1, a1. SecondOrder: b0, b1, b2, a1, a2.
    scalar coefficients[5] = {};
    scalar x1 = 0.0f, x2 = 0.0f, y1 = 0.0f, y2 = 0.0f;
    /// Lookup: `last` + 1 entries (at least 2) over inputs vinMin + i·deltaV; inverse = 1/deltaV.
    const scalar* table = nullptr;
    int32 last = 0;
    scalar vinMin = 0.0f, deltaV = 0.0f, inverse = 0.0f;
};

/// A biquad cascade in the lane layout of biQuadCascade, its state carried over.
struct ChainCascade {
    int32 stages = 0;
    const scalar* coefficients = nullptr;
    scalar* state = nullptr;
    int32 rowStride = 0;
};

/// Interpolator → steps → decimator (→ steps after), the middle at `factor` times the rate of
/// the ends: the interpolator's first stage takes each input sample followed by factor − 1
/// zeros, the decimator keeps the first of every `factor` outputs of its last stage. Run one
/// sample at a time through every part, so that the recursions of the parts overlap, with the
/// bits of the parts run one after another over the block.
struct FusedChain {
    int32 factor = 1;
    ChainCascade up;
    ChainCascade down;
    ChainStep* steps = nullptr;
    int32 stepCount = 0;
    /// Steps at the rate of the ends, on each sample the decimator keeps.
    ChainStep* after = nullptr;
    int32 afterCount = 0;
};

/// Whether the build for this processor has a fused form for the chain's step kinds and
/// cascade lengths. Runs nothing.
bool fusedChainSupported(FusedChain& chain);

/// `frames` input samples (null: silence) to `frames` output samples; the cascades' and the
/// steps' state carries over. Requires fusedChainSupported(chain). `out` may not be `in`.
void runFusedChain(FusedChain& chain, const scalar* in, scalar* out, int32 frames);

} // namespace nodara::kernels
