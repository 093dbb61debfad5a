#pragma once

#include "circuit/solvers/Solver.h"

#include <memory>
#include <vector>

namespace nodara {

struct SmallLu;

/// Newton's method with the true Jacobian: per iteration r = rhs(x), y = A·x − r,
/// J·delta = y, x −= Relaxation·delta. The fixed-voltage rows' corrections are known at once
/// (their rows are the identity), so only the leading m×m block of J is factorised, in place,
/// by the LU kernels. The first FixedPointSteps iterations solve A·x = r instead, without a
/// Jacobian; UseDiagonalNewton divides by J's diagonal alone.
///
/// Settings: RelativeTollerance, AbsoluteTollerance, MaxIterations (required, above 0);
/// Relaxation (0 < r ≤ 1, default 1), FixedPointSteps (≥ 0, default 0), UseDiagonalNewton
/// (default false). A singular Jacobian throws "ludcmp returned error: ".
class NewtonSolver : public Solver {
public:
    void setProperties(const Properties& properties) override;
    void init(const std::shared_ptr<MNAContext>& owner) override;
    void recompute() override;
    bool solve(Eigen::VectorXf& x) override;

private:
    /// Takes the step and returns the error measure of Solver::errorOf.
    scalar newtonStep(Eigen::VectorXf& x);
    void fixedPointStep(Eigen::VectorXf& x);
    /// delta from J·delta = y, the fixed rows first.
    void solveWithJacobian(Eigen::MatrixXf& jacobian);
    void multiplyAdd(int32 count, scalar alpha, const scalar* x, scalar* y) const;

    scalar relativeTollerance = 0.0f;
    scalar absoluteTollerance = 0.0f;
    scalar relaxation = 1.0f;
    int32 maxIterations = 0;
    int32 fixedPointSteps = 0;
    bool useDiagonalNewton = false;
    Eigen::MatrixXf a;
    Eigen::PartialPivLU<Eigen::MatrixXf> lu;
    std::unique_ptr<PackedMatrix> packedA;
    /// The rhs of the parts that do not read x, formed once per sample.
    Eigen::VectorXf sampleRhs;
    Eigen::VectorXf rhs;
    Eigen::VectorXf previousX;
    Eigen::VectorXf delta;
    Eigen::VectorXf y;
    int32 n = 0;
    /// n less the number of fixed-voltage nodes.
    int32 firstFixedRow = 0;
    std::vector<int32> pivots;
    /// The LU compiled for the order of a small system (the same bits as the kernels);
    /// null: the dispatched kernels.
    const SmallLu* smallLu = nullptr;
    bool propertiesSet = false;
    bool initialized = false;
};

} // namespace nodara
