#pragma once

#include "runtime/Filter.h"

namespace nodara {

/// y = Gain·x. Property "Gain"; a change applies from the next block, with no smoothing.
class Gain : public BufferedFilter {
public:
    Gain() : BufferedFilter("Gain") {}

    using BufferedFilter::process;
    using Filter::init;
    using BufferedFilter::propertyChanged;
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// In place is allowed.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;

    scalar getGain() const { return gain; }

private:
    scalar gain = 1.0f;
};

} // namespace nodara
