#include "circuit/solvers/SuccessiveApproximationsSolver.h"

#include "circuit/MNAContext.h"
#include "runtime/Exceptions.h"

#include <algorithm>

namespace nodara {

namespace {

const std::string head = "SuccessiveApproximations: ";

std::string missing(const std::string& key) { return head + key + " is not defined."; }
std::string invalid(const std::string& key) {
    return head + key + " must be greater than 0. " + key + "=";
}

} // namespace

void SuccessiveApproximationsSolver::setProperties(const Properties& properties) {
    relativeTollerance = requirePositive(
        properties, "RelativeTollerance", scalarParser, missing("RelativeTollerance"),
        head + "RelativeTollerance must be greater than 0. relativeTollerance=");
    const auto positive = [&](const std::string& key) {
        return requirePositive(properties, key, scalarParser, missing(key), invalid(key));
    };
    absoluteTollerance = positive("AbsoluteTollerance");
    initialRelaxation = positive("InitialRelaxation");
    minRelaxation = positive("MinRelaxation");
    maxRelaxation = std::min(positive("MaxRelaxation"), 2.0f);
    growth = positive("Growth");
    reduction = positive("Reduction");
    maxIterations = requirePositive(properties, "MaxIterations", intParser,
                                    missing("MaxIterations"), invalid("MaxIterations"));
    propertiesSet = true;
}

void SuccessiveApproximationsSolver::init(const std::shared_ptr<MNAContext>& owner) {
    if (!propertiesSet) {
        throw NodaraException(
            "SuccessiveApproximationsSolver: Properties must be set before calling init().");
    }
    context = owner;
    recompute();
    const int32 n = context->getSize();
    rhs = Eigen::VectorXf::Zero(n);
    sampleRhs = Eigen::VectorXf::Zero(n);
    previousX = Eigen::VectorXf::Zero(n);
    delta = Eigen::VectorXf::Zero(n);
    initialized = true;
}

void SuccessiveApproximationsSolver::recompute() {
    context->assembleStaticMatrix();
    const Eigen::MatrixXf& a = context->getStaticMatrix();
    system.compute(a);
    invertible = system.isInvertible();
    if (!invertible) {
        return;
    }
    system.invert(inverse);
    pack(packedInverse, inverse);
}

bool SuccessiveApproximationsSolver::solve(Eigen::VectorXf& x) {
    if (!initialized) {
        throw NodaraException("SuccessiveApproximationsSolver is not initialized");
    }
    const auto n = static_cast<uint32_t>(x.size());
    scalar error = absoluteTollerance + 1.0f;
    scalar previousError = 0.0f;
    scalar relaxation = initialRelaxation;
    context->computeSampleRhs(sampleRhs);
    int32 iteration = 0;
    delta.setZero();
    // The first iteration's error decides nothing: a second always follows.
    while (error > absoluteTollerance || iteration == 1) {
        if (iteration >= maxIterations) {
            break;
        }
        ++iteration;
        previousX = x;
        context->computeRhs(x, sampleRhs, rhs);
        if (invertible) {
            packedInverse->product(rhs.data(), x.data(), n, n);
        } else {
            system.solve(rhs, x);
        }
        delta = x - previousX;
        error = errorOf(delta, x, relativeTollerance);
        if (error < absoluteTollerance && iteration > 1) {
            break;
        }
        if (iteration != 1) {
            relaxation = error > previousError ? std::max(minRelaxation, relaxation * reduction)
                                               : std::min(maxRelaxation, relaxation * growth);
            x = previousX + relaxation * delta;
        }
        previousError = error;
    }
    return iteration < maxIterations;
}

} // namespace nodara
