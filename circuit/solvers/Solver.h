#pragma once

#include "circuit/PackedMatrix.h"
#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <Eigen/Dense>

#include <memory>
#include <string>

namespace nodara {

class MNAContext;

/// Finds x with A·x = rhs(x) for one sample, starting from the x it is given. All in 32-bit
/// floats. A solve that does not converge within its limit returns false and leaves the last
/// iterate in x: that is no error, and the circuit goes on with it.
///
/// The iterative solvers stop when every unknown moved by at most
/// AbsoluteTollerance + RelativeTollerance·|x[i]| in the last step.
///
/// Lifecycle: setProperties, init (allocates), then solve per sample on the audio thread
/// (no allocation) and recompute at a block boundary after a property or rate change.
class Solver {
public:
    virtual ~Solver() = default;
    /// Reads and checks the settings, the solver's own name-to-text map.
    virtual void setProperties(const Properties& properties) = 0;
    /// Stores the context, assembles and allocates.
    virtual void init(const std::shared_ptr<MNAContext>& owner) = 0;
    /// Reassembles A and everything derived from it.
    virtual void recompute() = 0;
    /// True when the iteration stayed below its limit.
    virtual bool solve(Eigen::VectorXf& x) = 0;

protected:
    /// max over i of |delta[i]| − relative·|x[i]|.
    static scalar errorOf(const Eigen::VectorXf& delta, const Eigen::VectorXf& x,
                          scalar relative);
    /// Reads `key` and checks it is above 0; `missing` is thrown without the key and
    /// `invalid` followed by the value for a value at or below 0, both as invalid arguments.
    template <class T>
    static T requirePositive(const Properties& properties, const std::string& key,
                             const PropertyParser<T>& parser, const std::string& missing,
                             const std::string& invalid);

    /// Packs the square `matrix` into `packed`, in place when the size is unchanged.
    static void pack(std::unique_ptr<PackedMatrix>& packed, const Eigen::MatrixXf& matrix);

    std::shared_ptr<MNAContext> context;
};

/// The solver a document names: "NewtonRaphson", "Linear", "SuccessiveApproximations" or
/// "SimplifiedNewton"; another text throws "Unknown solver type: ".
std::shared_ptr<Solver> makeSolver(const std::string& type);

} // namespace nodara
