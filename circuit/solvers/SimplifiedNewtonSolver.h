#pragma once

#include "circuit/solvers/FullPivSystem.h"
#include "circuit/solvers/Solver.h"

#include <memory>

namespace nodara {

/// Newton without a Jacobian: each sample starts with one linear step, x = A⁻¹·rhs(x), and
/// goes on with an element-wise secant iteration, x[i] −= k[i]·f[i] with f = A·x − rhs(x) and
/// k[i] = Δx[i]/Δf[i]. k is the only memory of the non-linearity: an unknown whose residual
/// hardly moved (|Δf| ≤ 1e-8) keeps its old slope, also across samples. The LU of A is
/// computed only by `recompute`.
///
/// Settings: RelativeTollerance, AbsoluteTollerance, MaxIterations (required, above 0).
class SimplifiedNewtonSolver : public Solver {
public:
    void setProperties(const Properties& properties) override;
    void init(const std::shared_ptr<MNAContext>& owner) override;
    void recompute() override;
    bool solve(Eigen::VectorXf& x) override;

private:
    void updateSlopes(const Eigen::VectorXf& x);

    scalar relativeTollerance = 0.0f;
    scalar absoluteTollerance = 0.0f;
    int32 maxIterations = 0;
    FullPivSystem system;
    std::unique_ptr<PackedMatrix> packedA;
    /// The rhs of the parts that do not read x, formed once per sample.
    Eigen::VectorXf sampleRhs;
    Eigen::VectorXf rhs;
    Eigen::VectorXf previousX;
    Eigen::VectorXf delta;
    Eigen::VectorXf f;
    Eigen::VectorXf previousF;
    /// Secant slope per unknown; 0 until first measured.
    Eigen::VectorXf k;
    bool propertiesSet = false;
    bool initialized = false;
};

} // namespace nodara
