#include "dsp/recursive/FirstOrderIIR.h"

namespace nodara {

void FirstOrderIIR::init(const std::string& filterName, std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, ctx);
    outputs.assign(1, buffer.get());
    iterationResult->assign(1, 0.0f);
}

void FirstOrderIIR::init(const std::string& filterName, const Properties& filterProperties,
                         std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, filterProperties, ctx);
    readCoefficients(filterProperties, true);
}

scalar* FirstOrderIIR::process(scalar*, size_t) { return nullptr; }

} // namespace nodara
