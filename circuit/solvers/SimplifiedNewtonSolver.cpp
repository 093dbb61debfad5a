#include "circuit/solvers/SimplifiedNewtonSolver.h"

#include "circuit/MNAContext.h"
#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara {

void SimplifiedNewtonSolver::setProperties(const Properties& properties) {
    const std::string head = "SimplifiedNewtonSolver: ";
    relativeTollerance = requirePositive(
        properties, "RelativeTollerance", scalarParser, head + "RelativeTollerance is not defined.",
        head + "RelativeTollerance must be greater than 0. relativeTollerance=");
    absoluteTollerance = requirePositive(
        properties, "AbsoluteTollerance", scalarParser, head + "AbsoluteTollerance is not defined.",
        head + "AbsoluteTollerance must be greater than 0. AbsoluteTollerance=");
    maxIterations = requirePositive(properties, "MaxIterations", intParser,
                                    head + "MaxIterations is not defined.",
                                    head + "MaxIterations must be greater than 0. MaxIterations=");
    propertiesSet = true;
}

void SimplifiedNewtonSolver::init(const std::shared_ptr<MNAContext>& owner) {
    if (!propertiesSet) {
        throw NodaraException(
            "SimplifiedNewtonSolver: Properties must be set before calling init().");
    }
    context = owner;
    recompute();
    const int32 n = context->getSize();
    for (Eigen::VectorXf* vector : {&rhs, &sampleRhs, &previousX, &delta, &f, &previousF, &k}) {
        *vector = Eigen::VectorXf::Zero(n);
    }
    initialized = true;
}

void SimplifiedNewtonSolver::recompute() {
    context->assembleStaticMatrix();
    const Eigen::MatrixXf& a = context->getStaticMatrix();
    system.compute(a);
    pack(packedA, a);
}

bool SimplifiedNewtonSolver::solve(Eigen::VectorXf& x) {
    if (!initialized) {
        throw NodaraException("SimplifiedNewtonSolver is not initialized.");
    }
    const auto size = static_cast<uint32_t>(x.size());
    context->computeSampleRhs(sampleRhs);
    int32 iteration = 0;
    delta.setZero();
    scalar error = 10.0f;
    while (error > absoluteTollerance) {
        if (iteration >= maxIterations) {
            break;
        }
        ++iteration;
        context->computeRhs(x, sampleRhs, rhs);
        packedA->product(x.data(), f.data(), size, size);
        f -= rhs;
        if (iteration > 1) {
            updateSlopes(x);
        }
        previousF = f;
        previousX = x;
        if (iteration < 2) {
            system.solve(rhs, x);
            delta = x - previousX;
        } else {
            delta = -k.cwiseProduct(f);
            x = previousX + delta;
        }
        error = errorOf(delta, x, relativeTollerance);
    }
    return iteration < maxIterations;
}

void SimplifiedNewtonSolver::updateSlopes(const Eigen::VectorXf& x) {
    for (Eigen::Index i = 0; i < x.size(); ++i) {
        const scalar change = f[i] - previousF[i];
        if (std::fabs(change) > 1e-8f) {
            k[i] = (x[i] - previousX[i]) / change;
        }
    }
}

} // namespace nodara
