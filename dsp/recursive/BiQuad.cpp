#include "dsp/recursive/BiQuad.h"

namespace nodara {

void BiQuad::init(const std::string& filterName, std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, ctx);
    outputs.assign(1, buffer.get());
    iterationResult->assign(1, 0.0f);
    clearState();
}

void BiQuad::init(const std::string& filterName, const Properties& filterProperties,
                  std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, filterProperties, ctx);
    readCoefficients(filterProperties, false);
}

scalar* BiQuad::process(scalar*, size_t) { return nullptr; }

} // namespace nodara
