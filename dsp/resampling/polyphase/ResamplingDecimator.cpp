#include "dsp/resampling/polyphase/ResamplingDecimator.h"

namespace nodara {

void ResamplingDecimator::init(const std::string& filterName, const Properties& filterProperties,
                               std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    settings.read(filterProperties, "ResamplingDecimator");
    factor = settings.getFactor();
}

void ResamplingDecimator::setSampleRate(scalar sampleRate) {
    Filter::setSampleRate(sampleRate);
    reset();
    const auto taps = settings.design(sampleRate, 1);
    setCoefficients(taps.data(), taps.size());
}

} // namespace nodara
