#pragma once

#include "circuit/solvers/Solver.h"
#include "runtime/Types.h"

#include <memory>

namespace nodara {

/// How a circuit runs, as its document's Analysis element says.
struct Analysis {
    enum Type : int32 { DC = 0, AC = 1 };
    enum InitialCondition : int32 { OperatingPoint = 0, Zero = 1, User = 2 };

    /// DC: capacitors open, no time; AC: time-stepping, one sample per step.
    int32 type = DC;
    /// AC only: where the first sample starts.
    int32 initialCondition = Zero;
    /// Solves each sample.
    std::shared_ptr<Solver> solver;
    /// Solves the operating point.
    std::shared_ptr<Solver> dcSolver;
};

} // namespace nodara
