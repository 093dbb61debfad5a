#include "dsp/resampling/polyphase/PolyphaseDownsampler.h"

#include "dsp/resampling/RateFactor.h"
#include "runtime/Exceptions.h"

namespace nodara {

void PolyphaseDownsampler::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Factor") {
        throw InvalidArgumentException("PolyphaseDownsampler: Invalid property name " +
                                       propertyName);
    }
    factor = wholeFactor(value, "PolyphaseDownsampler");
    // The graph's ratio is the whole factor, so that the rates downstream match the frames made.
    if (factor >= 1) {
        moveGraphRate(getContext(), 1.0 / static_cast<double>(factor));
    }
}

void PolyphaseDownsampler::init(const std::string& filterName, const Properties& filterProperties,
                                std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    factor = readPolyphaseFactor(filterProperties, "PolyphaseDownsampler", filterName);
    readCoefficients(filterProperties);
}

void PolyphaseDownsampler::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    if (factor < 1) {
        throw NodaraException(concat("PolyphaseDownsampler: Invalid factor ", factor));
    }
    checkBlock(framesPerBuffer);
    const scalar* window = takeBlock(in, framesPerBuffer);
    const auto step = static_cast<size_t>(factor);
    // The frames kept: i = 0, F, 2F, … below n, each window ending at frame i.
    const size_t count = (framesPerBuffer + step - 1) / step;
    size_t k = 0;
    for (; k + 4 <= count; k += 4) {
        fir::dot4(taps.data(), 0, window + k * step, step, groups, out + k);
    }
    for (; k < count; ++k) {
        out[k] = fir::dot(taps.data(), groups, window + k * step);
    }
    advance(framesPerBuffer);
}

Filter::IterationResults& PolyphaseDownsampler::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException("PolyphaseDownsampler: Iteration is not supported.");
}

Filter::IterationResults& PolyphaseDownsampler::getLastIterationResults() {
    throw OperationNotSupportedException(
        "PolyphaseDownsampler: getLastIterationResult is not supported.");
}

size_t PolyphaseDownsampler::endIteration(size_t) {
    throw OperationNotSupportedException("PolyphaseDownsampler: endIteration is not supported.");
}

} // namespace nodara
