#include "circuit/solvers/NewtonSolver.h"

#include "circuit/MNAContext.h"
#include "circuit/solvers/SmallLu.h"
#include "kernels/Kernels.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace nodara {

void NewtonSolver::setProperties(const Properties& properties) {
    relativeTollerance = requirePositive(
        properties, "RelativeTollerance", scalarParser,
        "NewtonSolver: RelativeTollerance is not defined.",
        "NewtonSolver: RelativeTollerance must be greater than 0. relativeTollerance=");
    absoluteTollerance = requirePositive(
        properties, "AbsoluteTollerance", scalarParser,
        "NewtonSolver: AbsoluteTollerance is not defined.",
        "NewtonSolver: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=");
    readProperty(properties, "Relaxation", relaxation, scalarParser);
    if (!(relaxation > 0.0f && relaxation <= 1.0f)) {
        throw InvalidArgumentException(concat(
            "NewtonSolver: Relaxation must be greater than 0 and less than or equal to 1. "
            "InitialRelaxation=",
            relaxation));
    }
    readProperty(properties, "FixedPointSteps", fixedPointSteps, intParser);
    if (fixedPointSteps < 0) {
        throw InvalidArgumentException(concat(
            "NewtonSolver: FixedPointSteps must be greater than or equal to 0. FixedPointSteps=",
            fixedPointSteps));
    }
    if (auto found = properties.find("UseDiagonalNewton"); found != properties.end()) {
        std::istringstream(found->second) >> std::boolalpha >> useDiagonalNewton;
    }
    maxIterations = requirePositive(
        properties, "MaxIterations", intParser, "NewtonSolver: MaxIterations is not defined.",
        "NewtonSolver: MaxIterations must be greater than 0. MaxIterations=");
    propertiesSet = true;
}

void NewtonSolver::init(const std::shared_ptr<MNAContext>& owner) {
    if (!propertiesSet) {
        throw NodaraException("NewtonSolver: Properties must be set before calling init().");
    }
    context = owner;
    recompute();
    rhs = Eigen::VectorXf::Zero(n);
    sampleRhs = Eigen::VectorXf::Zero(n);
    previousX = Eigen::VectorXf::Zero(n);
    delta = Eigen::VectorXf::Zero(n);
    y = Eigen::VectorXf::Zero(n);
    pivots.assign(static_cast<size_t>(n), 0);
    initialized = true;
}

void NewtonSolver::recompute() {
    context->assembleStaticMatrix();
    a = context->getStaticMatrix();
    lu.compute(a);
    pack(packedA, a);
    n = static_cast<int32>(a.rows());
    firstFixedRow = n + context->getFixedCounter() + 1;
    smallLu = firstFixedRow >= 1 && firstFixedRow <= smallLuOrders ? &smallLuFor(firstFixedRow)
                                                                    : nullptr;
}

bool NewtonSolver::solve(Eigen::VectorXf& x) {
    if (!initialized) {
        throw NodaraException("NewtonSolver: Not initialized.");
    }
    context->computeSampleRhs(sampleRhs);
    int32 iteration = 0;
    delta.setZero();
    scalar error = 10.0f;
    while (error > absoluteTollerance) {
        if (iteration >= maxIterations) {
            break;
        }
        ++iteration;
        // The rhs first: tube stamps limit the voltages in x, and the copy must see them.
        context->computeRhs(x, sampleRhs, rhs);
        std::copy(x.data(), x.data() + n, previousX.data());
        if (iteration > fixedPointSteps) {
            error = newtonStep(x);
        } else {
            fixedPointStep(x);
            error = errorOf(delta, x, relativeTollerance);
        }
    }
    return iteration < maxIterations;
}

scalar NewtonSolver::newtonStep(Eigen::VectorXf& x) {
    const auto size = static_cast<uint32_t>(n);
    packedA->residual(x.data(), rhs.data(), y.data(), size, size);
    Eigen::MatrixXf& jacobian = context->assembleJacobian(x);
    if (useDiagonalNewton) {
        for (int32 i = 0; i < n; ++i) {
            delta[i] = y[i] * (1.0f / jacobian(i, i));
        }
    } else {
        solveWithJacobian(jacobian);
    }
    // The step and the error measure in one pass.
    scalar* __restrict next = x.data();
    const scalar* __restrict previous = previousX.data();
    const scalar* __restrict step = delta.data();
    scalar error = -std::numeric_limits<scalar>::infinity();
    for (int32 i = 0; i < n; ++i) {
        next[i] = previous[i] - relaxation * step[i];
        error = std::max(error, std::fabs(step[i]) - relativeTollerance * std::fabs(next[i]));
    }
    return error;
}

// y += alpha·x: the saxpy kernel, as a plain loop for a small system, whose few entries do not
// repay the dispatch.
void NewtonSolver::multiplyAdd(int32 count, scalar alpha, const scalar* __restrict x,
                               scalar* __restrict y) const {
    if (!smallLu) {
        kernels::saxpy(count, alpha, x, y);
        return;
    }
    for (int32 i = 0; i < count; ++i) {
        y[i] += alpha * x[i];
    }
}

void NewtonSolver::fixedPointStep(Eigen::VectorXf& x) {
    x = lu.solve(rhs);
    delta = x - previousX;
    x = previousX + relaxation * delta;
}

void NewtonSolver::solveWithJacobian(Eigen::MatrixXf& jacobian) {
    const int32 m = firstFixedRow;
    scalar* residual = y.data();
    for (int32 i = m; i < n; ++i) {
        multiplyAdd(m, -residual[i], jacobian.col(i).data(), residual);
        delta[i] = residual[i];
    }
    if (smallLu) {
        if (const int32 code = smallLu->ludcmp(jacobian.data(), n, pivots.data()); code != 0) {
            throw NodaraException(concat("ludcmp returned error: ", code));
        }
        smallLu->lubksb(jacobian.data(), n, pivots.data(), residual, delta.data());
        return;
    }
    if (const int32 code = kernels::ludcmp(m, jacobian.data(), n, pivots.data()); code != 0) {
        throw NodaraException(concat("ludcmp returned error: ", code));
    }
    if (const int32 code =
            kernels::lubksb(m, jacobian.data(), n, pivots.data(), residual, delta.data());
        code != 0) {
        throw NodaraException(concat("lubksb returned error: ", code));
    }
}

} // namespace nodara
