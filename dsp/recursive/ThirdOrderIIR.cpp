#include "dsp/recursive/ThirdOrderIIR.h"

namespace nodara {

void ThirdOrderIIR::init(const std::string& filterName, const Properties& filterProperties,
                         std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, filterProperties, ctx);
    readCoefficients(filterProperties, false);
    requireProperty(filterProperties, "InputIndex", inputIndex, intParser,
                    InvalidArgumentException("InputIndex is not defined. BiQuad name=" + filterName));
    if (inputIndex < 0) {
        throw InvalidArgumentException(
            concat("InputIndex must be greater than or equal to 0. BiQuad name=", filterName,
                   " InputIndex=", inputIndex));
    }
}

scalar* ThirdOrderIIR::process(scalar* in, size_t framesPerBuffer) {
    process(in, buffer.get(), framesPerBuffer);
    return buffer.get();
}

} // namespace nodara
