#pragma once

#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <cstddef>
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
    /// True: the filter calls `update` before each sample that `unchangedFrames` does not
    /// vouch for.
    virtual bool needsSampleUpdate() = 0;
    virtual void update(Filter*, scalar input, scalar lastOutput) { update(input, lastOutput); }
    /// Recomputes the coefficients from the present input and the filter's last output.
    virtual void update(scalar input, scalar lastOutput) = 0;
    /// Lets a filter run ahead on the coefficients in force: given the `outputs` they gave for
    /// `frames` samples of `inputs` (the filter's output before them being `lastOutput`), how
    /// many samples in a row `update` would have left them as they stand. The handler steps on
    /// past exactly those samples, as that many calls of `update` would have. The default, 0,
    /// has the filter call `update` before every sample, after computing a few samples ahead
    /// in vain: a handler that needs sample updates should answer. Allocates nothing.
    virtual size_t unchangedFrames([[maybe_unused]] const scalar* inputs,
                                   [[maybe_unused]] scalar lastOutput,
                                   [[maybe_unused]] const scalar* outputs,
                                   [[maybe_unused]] size_t frames) {
        return 0;
    }
    /// Forgets what it kept of past samples; the filter calls it as it clears its own state.
    virtual void reset() {}
};

} // namespace nodara
