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
    inverse = lu.inverse();
    const auto n = static_cast<uint32_t>(a.rows());
    if (packedInverse && packedInverse->getRows() == n) {
        packedInverse->updateMatrix(inverse.data(), n, n);
    } else {
        packedInverse = std::make_unique<PackedMatrix>(inverse.data(), n, n);
    }
}

bool LinearSolver::solve(Eigen::VectorXf& x) {
    context->computeRhs(x, rhs);
    const auto n = static_cast<uint32_t>(x.size());
    packedInverse->product(rhs.data(), x.data(), n, n);
    return true;
}

} // namespace nodara
