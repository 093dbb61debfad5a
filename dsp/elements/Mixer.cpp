#include "dsp/elements/Mixer.h"

#include "dsp/elements/ElementMetas.h"
#include "runtime/Exceptions.h"

#include <cstdlib>

namespace nodara {

void Mixer::init(const std::string& mixerName, const Properties& mixerProperties,
                 std::shared_ptr<DSPContext>& mixerContext) {
    Filter::init(mixerName, mixerProperties, mixerContext);
    std::string text;
    requireProperty(mixerProperties, "Faders", text, stringParser,
                    InvalidArgumentException("Faders is not defined. Mixer name=" + mixerName));
    splitScalars(text, listSeparator, *faders);
    if (faders->size() < 2) {
        throw InvalidArgumentException(concat("Number of Faders must be at least 2. Number of "
                                              "Faders: ",
                                              faders->size(), " Mixer name=", mixerName));
    }
    for (scalar fader : *faders) {
        if (fader < 0.0f || fader > 1.0f) {
            throw InvalidArgumentException(concat("Invalid fader value: ", fader));
        }
    }
}

void Mixer::propertyChanged(const std::string& propertyName, scalar value) {
    char* end = nullptr;
    const long index = std::strtol(propertyName.c_str(), &end, 10);
    if (propertyName.empty() || *end != '\0' || index < 0 ||
        static_cast<size_t>(index) >= faders->size()) {
        throw InvalidArgumentException("Mixer: Invalid fader index " + propertyName);
    }
    (*faders)[static_cast<size_t>(index)] = value;
}

// Inputs beyond those wired count as silence: the mixer's meta names a single port.
void Mixer::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                    size_t framesPerBuffer) {
    scalar* result = out[0];
    const std::vector<scalar>& weights = *faders;
    for (size_t frame = 0; frame < framesPerBuffer; ++frame) {
        scalar sum = 0.0f;
        for (size_t i = 0; i < weights.size() && i < in.size(); ++i) {
            if (in[i] != nullptr) {
                const scalar product = in[i][frame] * weights[i];
                sum += product;
            }
        }
        result[frame] = sum;
    }
}

Filter::IterationResults& Mixer::iteration(const IterationResults& in, size_t, int32) {
    const std::vector<scalar>& weights = *faders;
    for (size_t i = 0; i < weights.size() && i < in->size(); ++i) {
        (*iterationResult)[0] += weights[i] * (*in)[i];
    }
    return iterationResult;
}

std::shared_ptr<ElementMeta> Mixer::getMeta() { return MixerMeta::instance(); }

} // namespace nodara
