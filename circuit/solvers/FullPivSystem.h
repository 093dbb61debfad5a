#pragma once

#include "runtime/Types.h"

#include <Eigen/Dense>

namespace nodara {

/// A constant matrix factorised with full pivoting, P·A·Q = L·U, solved without allocating
/// when it is invertible. The factorisation allocates; a rank-deficient matrix falls back on
/// the library's least-squares-free solve, which allocates too.
class FullPivSystem {
public:
    void compute(const Eigen::MatrixXf& a);
    bool isInvertible() const { return lu.isInvertible(); }
    /// A⁻¹ into `inverse`, column by column; allocates nothing when invertible and the size is
    /// unchanged (the library's own inverse allocates).
    void invert(Eigen::MatrixXf& inverse);
    /// x with A·x = b; b and x must not be one vector.
    void solve(const Eigen::VectorXf& b, Eigen::VectorXf& x);

private:
    Eigen::FullPivLU<Eigen::MatrixXf> lu;
    Eigen::VectorXf permuted;
    Eigen::VectorXf unit;
    Eigen::VectorXf column;
};

} // namespace nodara
