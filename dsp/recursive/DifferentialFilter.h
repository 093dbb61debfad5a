#pragma once

#include "runtime/Filter.h"

namespace nodara {

/// out = (plus − minus)·Gain. Either port may be replaced by `ConstantValue`, named by
/// `ConstantValueNode` ("plus" or "minus"); that input is then not read. Blocks of fewer than
/// four frames take a plain loop, longer ones the vector kernels; the two round differently.
class DifferentialFilter : public BufferedFilter {
public:
    DifferentialFilter();

    using BufferedFilter::process;
    using Filter::init;
    using BufferedFilter::propertyChanged;
    /// "Gain" only.
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// (element 0 − element 1)·Gain; the constant is not used here.
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    std::shared_ptr<ElementMeta> getMeta() override;

private:
    void processShort(const scalar* plus, const scalar* minus, scalar* out, size_t frames) const;
    void processLong(const scalar* plus, const scalar* minus, scalar* out, size_t frames) const;

    scalar gain = 1.0f;
    int32 plusIndex;
    int32 minusIndex;
    std::string constantValueNode;
    int32 constantIndex = -1;
    scalar constantValue = 0.0f;
    bool hasConstant = false;
};

} // namespace nodara
