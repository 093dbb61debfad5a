#pragma once

#include "runtime/Filter.h"

#include <map>
#include <memory>
#include <string>

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

protected:
    std::shared_ptr<Filter> filter;
};

} // namespace torvane
