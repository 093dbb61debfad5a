#include "circuit/solvers/FullPivSystem.h"

namespace nodara {

// A circuit's rows mix siemens (a 1 MOhm resistor is 1e-6) with unit rows and op-amp gains
// of 1e5: the library's default threshold, relative to the largest pivot, would take a small
// conductance for a zero. Only a pivot that all but vanishes marks the matrix singular.
void FullPivSystem::compute(const Eigen::MatrixXf& a) {
    lu.setThreshold(1e-20f);
    lu.compute(a);
    permuted.resize(a.rows());
    unit.setZero(a.rows());
    column.resize(a.rows());
}

void FullPivSystem::invert(Eigen::MatrixXf& inverse) {
    if (!lu.isInvertible()) {
        inverse = lu.inverse();
        return;
    }
    const Eigen::Index n = unit.size();
    inverse.resize(n, n);
    for (Eigen::Index j = 0; j < n; ++j) {
        unit[j] = 1.0f;
        solve(unit, column);
        inverse.col(j) = column;
        unit[j] = 0.0f;
    }
}

void FullPivSystem::solve(const Eigen::VectorXf& b, Eigen::VectorXf& x) {
    if (!lu.isInvertible()) {
        x = lu.solve(b);
        return;
    }
    // The library's own steps for a full-rank matrix, with the scratch vector kept.
    permuted.noalias() = lu.permutationP() * b;
    lu.matrixLU().triangularView<Eigen::UnitLower>().solveInPlace(permuted);
    lu.matrixLU().triangularView<Eigen::Upper>().solveInPlace(permuted);
    const auto& columns = lu.permutationQ().indices();
    for (Eigen::Index i = 0; i < permuted.size(); ++i) {
        x[columns[i]] = permuted[i];
    }
}

} // namespace nodara
