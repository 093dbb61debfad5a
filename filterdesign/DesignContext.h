#pragma once

#include "runtime/Types.h"

#include <memory>
#include <vector>

namespace nodara::filterdesign {

/// Coefficient vector of a design, shared with the filters that take it.
using Coefficients = std::shared_ptr<std::vector<scalar>>;

/// The order of a design and its result, in the filters' convention:
/// y[n] = b[0]·x[n] + b[1]·x[n−1] + … − a[0]·y[n−1] − a[1]·y[n−2] − …
class DesignContext {
public:
    /// Throws InvalidArgumentException for order 0.
    explicit DesignContext(int32 order);
    virtual ~DesignContext() = default;

    int32 getOrder() const { return order; }
    /// Feedback coefficients, a[0] for y[n−1]; empty until a design succeeds.
    const Coefficients& getA() const { return a; }
    /// Feed-forward coefficients, b[0] for x[n]; empty until a design succeeds.
    const Coefficients& getB() const { return b; }
    /// Replaces both results at once; a failed design never calls it.
    void setCoefficients(Coefficients newA, Coefficients newB);

private:
    int32 order;
    Coefficients a = std::make_shared<std::vector<scalar>>();
    Coefficients b = std::make_shared<std::vector<scalar>>();
};

} // namespace nodara::filterdesign
