#pragma once

#include "dsp/elements/ElementMetas.h"
#include "runtime/Filter.h"

namespace nodara {

/// Passes input `Position` of `NumberOfInputs` (ports in_0, in_1, ...). A change of position
/// applies from the next block, with no fade.
class Switch : public BufferedFilter {
public:
    Switch() : BufferedFilter("Switch") {}

    using BufferedFilter::process;
    using Filter::init;
    using BufferedFilter::propertyChanged;
    /// Reads NumberOfInputs and Position where present, then validates.
    void propertiesChanged(const Properties& properties) override;
    /// "Position" only, rounded to the nearest integer.
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    std::shared_ptr<ElementMeta> getMeta() override { return meta; }

    int32 getPosition() const { return position; }

private:
    void validate() const;

    std::shared_ptr<SwitchMeta> meta = std::make_shared<SwitchMeta>();
    int32 numberOfInputs = -1;
    int32 position = 0;
};

} // namespace nodara
