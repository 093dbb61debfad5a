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
    pack(packedInverse, inverse);
}

bool LinearSolver::solve(Eigen::VectorXf& x) {
    context->computeRhs(x, rhs);
    const auto n = static_cast<uint32_t>(x.size());
    packedInverse->product(rhs.data(), x.data(), n, n);
    return true;
}

} // namespace nodara
