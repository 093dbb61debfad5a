#include "dsp/elements/Gain.h"

#include "kernels/Kernels.h"
#include "runtime/Exceptions.h"

#include <cstring>

namespace nodara {

void Gain::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Gain") {
        throw InvalidArgumentException("Gain: Invalid property name " + propertyName);
    }
    gain = value;
}

void Gain::init(const std::string& gainName, const Properties& gainProperties,
                std::shared_ptr<DSPContext>& gainContext) {
    Filter::init(gainName, gainProperties, gainContext);
    requireProperty(gainProperties, "Gain", gain, scalarParser,
                    NodaraException("Gain is not defined. Gain name=" + gainName));
}

void Gain::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                   size_t framesPerBuffer) {
    process(in[0], out[0], framesPerBuffer);
}

void Gain::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr) {
        return;
    }
    std::memmove(out, in, framesPerBuffer * sizeof(scalar));
    kernels::scale(static_cast<int32>(framesPerBuffer), gain, out);
}

Filter::IterationResults& Gain::iteration(const IterationResults& in, size_t, int32) {
    (*iterationResult)[0] = gain * (*in)[0];
    return iterationResult;
}

} // namespace nodara
