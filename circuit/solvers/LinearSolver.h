#pragma once

#include "circuit/solvers/Solver.h"

#include <memory>

namespace nodara {

/// For circuits without non-linear stamps: x = A⁻¹·rhs(x), one packed product per sample and
/// no iteration. A non-linear part gets no Jacobian here; its rhs is used as it stands, at the
/// previous sample's x.
class LinearSolver : public Solver {
public:
    /// Takes no settings.
    void setProperties(const Properties&) override {}
    void init(const std::shared_ptr<MNAContext>& owner) override;
    /// Inverts A anew; allocation-free when the size is unchanged.
    void recompute() override;
    bool solve(Eigen::VectorXf& x) override;

private:
    Eigen::MatrixXf inverse;
    Eigen::PartialPivLU<Eigen::MatrixXf> lu;
    std::unique_ptr<PackedMatrix> packedInverse;
    Eigen::VectorXf rhs;
    /// Scratch of the inversion.
    Eigen::VectorXf unit;
    Eigen::VectorXf column;
};

} // namespace nodara
