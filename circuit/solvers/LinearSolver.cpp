#include "circuit/solvers/LinearSolver.h"

#include "circuit/MNAContext.h"

namespace nodara {

void LinearSolver::init(const std::shared_ptr<MNAContext>& owner) {
    context = owner;
    recompute();
    rhs = Eigen::VectorXf::Zero(context->getSize());
}

void LinearSolver::recompute() {
    context->assembleStaticMatrix();
    const Eigen::MatrixXf& a = context->getStaticMatrix();
    lu.compute(a);
    // Column by column into the storage kept: the library's matrix inverse allocates.
    const Eigen::Index n = a.rows();
    inverse.resize(n, n);
    unit.setZero(n);
    column.resize(n);
    for (Eigen::Index j = 0; j < n; ++j) {
        unit[j] = 1.0f;
        column.noalias() = lu.solve(unit);
        inverse.col(j) = column;
        unit[j] = 0.0f;
    }
    pack(packedInverse, inverse);
}

bool LinearSolver::solve(Eigen::VectorXf& x) {
    context->computeRhs(x, rhs);
    const auto n = static_cast<uint32_t>(x.size());
    packedInverse->product(rhs.data(), x.data(), n, n);
    return true;
}

} // namespace nodara
