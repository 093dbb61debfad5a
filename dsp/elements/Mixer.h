#pragma once

#include "runtime/Filter.h"

#include <memory>
#include <vector>

namespace nodara {

/// out = Σ inputs[i]·Faders[i]. Property "Faders": at least two weights in [0, 1]; a fader
/// is changed by its decimal index as the property name.
class Mixer : public BufferedFilter {
public:
    Mixer() : BufferedFilter("Mixer") {}

    using BufferedFilter::process;
    using Filter::init;
    using BufferedFilter::propertyChanged;
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// Accumulates into the result without clearing it first.
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    std::shared_ptr<ElementMeta> getMeta() override;

private:
    std::shared_ptr<std::vector<scalar>> faders = std::make_shared<std::vector<scalar>>();
};

} // namespace nodara
