#pragma once

#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <string>

namespace nodara {

class Filter;

/// Lets an outside object own a filter's coefficients: the filter forwards its parameter
/// changes and its sample rate here, and, when asked to, calls `update` before every sample.
class PropertiesHandler {
public:
    virtual ~PropertiesHandler() = default;
    /// Initial values, from the filter's document properties.
    virtual void init(const Properties& properties) = 0;
    virtual void propertyChanged(const std::string& name, scalar value) = 0;
    /// The rate of the enclosing graph, oversampling included.
    virtual void setSampleRate(scalar sampleRate) = 0;
    /// True: the filter runs sample by sample and calls `update` before each sample.
    virtual bool needsSampleUpdate() = 0;
    virtual void update(Filter*, scalar input, scalar lastOutput) { update(input, lastOutput); }
    /// Recomputes the coefficients from the present input and the filter's last output.
    virtual void update(scalar input, scalar lastOutput) = 0;
    /// Forgets what it kept of past samples; the filter calls it as it clears its own state.
    virtual void reset() {}
};

} // namespace nodara
