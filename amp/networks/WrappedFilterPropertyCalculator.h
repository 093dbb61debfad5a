#pragma once

#include "runtime/Filter.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace torvane {

using nodara::Filter;
using nodara::scalar;

/// Owns a small filter and computes its coefficients from the parameters of a passive
/// network; recomputes only when a parameter or the sample rate changes.
class WrappedFilterPropertyCalculator {
public:
    virtual ~WrappedFilterPropertyCalculator() = default;
    /// The inner filter, built by the calculator's constructor.
    virtual const std::shared_ptr<Filter>& getFilter() { return filter; }
    /// Starting values of the parameters.
    virtual void init(const std::map<std::string, scalar>& values) = 0;
    virtual void propertyChanged(const std::string& name, scalar value) = 0;
    /// The rate of the enclosing graph, oversampling included.
    virtual void setSampleRate(scalar sampleRate) = 0;

    const std::vector<scalar>& getA() const { return *a; }
    const std::vector<scalar>& getB() const { return *b; }

protected:
    /// Coefficient lists for a network of `order`: order + 1 feed-forward, order feedback.
    explicit WrappedFilterPropertyCalculator(std::size_t order = 0)
        : b(std::make_shared<std::vector<scalar>>(order + 1, 0.0f)),
          a(std::make_shared<std::vector<scalar>>(order, 0.0f)) {}

    /// Hands the current coefficients to the inner filter.
    void installCoefficients() {
        filter->propertyChanged("A", a);
        filter->propertyChanged("B", b);
    }

    std::shared_ptr<Filter> filter;
    std::shared_ptr<std::vector<scalar>> b;
    std::shared_ptr<std::vector<scalar>> a;
};

} // namespace torvane
