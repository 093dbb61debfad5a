#include "circuit/solvers/Solver.h"

#include "circuit/solvers/LinearSolver.h"
#include "circuit/solvers/NewtonSolver.h"
#include "circuit/solvers/SimplifiedNewtonSolver.h"
#include "circuit/solvers/SuccessiveApproximationsSolver.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nodara {

scalar Solver::errorOf(const Eigen::VectorXf& delta, const Eigen::VectorXf& x,
                       scalar relative) {
    scalar error = -std::numeric_limits<scalar>::infinity();
    for (Eigen::Index i = 0; i < delta.size(); ++i) {
        error = std::max(error, std::fabs(delta[i]) - relative * std::fabs(x[i]));
    }
    return error;
}

void Solver::pack(std::unique_ptr<PackedMatrix>& packed, const Eigen::MatrixXf& matrix) {
    const auto n = static_cast<uint32_t>(matrix.rows());
    if (packed && packed->getRows() == n) {
        packed->updateMatrix(matrix.data(), n, n);
    } else {
        packed = std::make_unique<PackedMatrix>(matrix.data(), n, n);
    }
}

template <class T>
T Solver::requirePositive(const Properties& properties, const std::string& key,
                          const PropertyParser<T>& parser, const std::string& missing,
                          const std::string& invalid) {
    T value{};
    requireProperty(properties, key, value, parser, InvalidArgumentException(missing));
    if (!(value > 0)) {
        throw InvalidArgumentException(concat(invalid, value));
    }
    return value;
}

template scalar Solver::requirePositive(const Properties&, const std::string&,
                                        const PropertyParser<scalar>&, const std::string&,
                                        const std::string&);
template int32 Solver::requirePositive(const Properties&, const std::string&,
                                       const PropertyParser<int32>&, const std::string&,
                                       const std::string&);

std::shared_ptr<Solver> makeSolver(const std::string& type) {
    if (type == "NewtonRaphson") {
        return std::make_shared<NewtonSolver>();
    }
    if (type == "Linear") {
        return std::make_shared<LinearSolver>();
    }
    if (type == "SuccessiveApproximations") {
        return std::make_shared<SuccessiveApproximationsSolver>();
    }
    if (type == "SimplifiedNewton") {
        return std::make_shared<SimplifiedNewtonSolver>();
    }
    throw NodaraException("Unknown solver type: " + type);
}

} // namespace nodara
