#pragma once

#include "circuit/solvers/FullPivSystem.h"
#include "circuit/solvers/Solver.h"

#include <memory>

namespace nodara {

/// Fixed-point iteration x ← A⁻¹·rhs(x) with adaptive damping: from the second iteration
/// on, x = previous + relaxation·Δ, the relaxation growing (×Growth, up to MaxRelaxation)
/// while the error falls and shrinking (×Reduction, down to MinRelaxation) when it rises. It
/// starts afresh at InitialRelaxation each sample; the first iteration is undamped, and a
/// sample takes at least two iterations when MaxIterations allows it.
///
/// Settings, all required and above 0: RelativeTollerance, AbsoluteTollerance,
/// InitialRelaxation, MinRelaxation, MaxRelaxation (then capped at 2), Growth, Reduction,
/// MaxIterations. A rank-deficient A is solved through its LU at each iteration instead of
/// its inverse.
class SuccessiveApproximationsSolver : public Solver {
public:
    void setProperties(const Properties& properties) override;
    void init(const std::shared_ptr<MNAContext>& owner) override;
    void recompute() override;
    bool solve(Eigen::VectorXf& x) override;

private:
    scalar relativeTollerance = 0.0f;
    scalar absoluteTollerance = 0.0f;
    scalar minRelaxation = 0.0f;
    scalar initialRelaxation = 0.0f;
    scalar maxRelaxation = 0.0f;
    scalar growth = 0.0f;
    scalar reduction = 0.0f;
    int32 maxIterations = 0;
    FullPivSystem system;
    bool invertible = false;
    Eigen::MatrixXf inverse;
    std::unique_ptr<PackedMatrix> packedInverse;
    /// The rhs of the parts that do not read x, formed once per sample.
    Eigen::VectorXf sampleRhs;
    Eigen::VectorXf rhs;
    Eigen::VectorXf previousX;
    Eigen::VectorXf delta;
    bool propertiesSet = false;
    bool initialized = false;
};

} // namespace nodara
