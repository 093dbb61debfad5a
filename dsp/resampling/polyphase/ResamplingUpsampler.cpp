#include "dsp/resampling/polyphase/ResamplingUpsampler.h"

namespace nodara {

void ResamplingUpsampler::init(const std::string& filterName, const Properties& filterProperties,
                               std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    settings.read(filterProperties, "ResamplingUpsampler");
    startWithFactor(settings.getFactor());
}

void ResamplingUpsampler::setSampleRate(scalar sampleRate) {
    Filter::setSampleRate(sampleRate);
    reset();
    auto taps = settings.design(sampleRate, factor);
    for (scalar& tap : taps) {
        tap *= static_cast<scalar>(factor);
    }
    setCoefficients(taps.data(), taps.size());
}

} // namespace nodara
