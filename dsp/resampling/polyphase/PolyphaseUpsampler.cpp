#include "dsp/resampling/polyphase/PolyphaseUpsampler.h"

#include "dsp/resampling/RateFactor.h"
#include "runtime/Exceptions.h"

namespace nodara {

void PolyphaseUpsampler::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Factor") {
        throw InvalidArgumentException("PolyphaseUpsampler: Invalid property name " + propertyName);
    }
    factor = wholeFactor(value, "PolyphaseUpsampler");
    // The graph's ratio is the whole factor, so that the rates downstream match the frames made.
    if (factor >= 1) {
        moveGraphRate(getContext(), static_cast<double>(factor));
    }
    factorChanged();
}

void PolyphaseUpsampler::factorChanged() {
    if (factor < 1) {
        return;
    }
    if (given.empty()) {
        phases = factor;
    } else {
        setCoefficients(given.data(), given.size());
    }
}

void PolyphaseUpsampler::init(const std::string& filterName, const Properties& filterProperties,
                              std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    startWithFactor(readPolyphaseFactor(filterProperties, "PolyphaseUpsampler", filterName));
    readCoefficients(filterProperties);
}

void PolyphaseUpsampler::startWithFactor(int32 value) {
    factor = value;
    phases = value;
    // Room for any split at this factor, so that a change of taps does not allocate.
    given.reserve(maxTaps);
    phaseTaps.reserve(maxTaps / 4 + static_cast<size_t>(value));
}

void PolyphaseUpsampler::setCoefficients(const scalar* values, size_t count) {
    if (values == nullptr) {
        throw NodaraException("PolyphaseUpsampler: b cannot be null");
    }
    if (count == 0) {
        throw NodaraException(
            "PolyphaseUpsampler: Size of filter coefficients must be greater than zero.");
    }
    const auto f = static_cast<size_t>(factor);
    const size_t padded = (count + f - 1) / f * f;
    if (padded > static_cast<size_t>(maxTaps)) {
        throw NodaraException(concat("PolyphaseUpsampler: Maximum filter order is ", maxTaps,
                                     ". You requested: ", padded));
    }
    if (values != given.data()) {
        given.assign(values, values + count);
    }
    phases = factor;
    phaseLength = static_cast<int32>(padded / f);
    phaseGroups = (phaseLength + 3) / 4;
    phaseTaps.assign(f * static_cast<size_t>(phaseGroups), fir::TapGroup{});
    for (size_t p = 0; p < f; ++p) {
        for (size_t k = 0; k < static_cast<size_t>(phaseLength); ++k) {
            const size_t tap = p + k * f;
            phaseTaps[p * static_cast<size_t>(phaseGroups) + k / 4].lane[k % 4] =
                tap < count ? values[tap] : 0.0f;
        }
    }
    work = {};
    keepFrames(phaseLength - 1);
}

size_t PolyphaseUpsampler::outputFramesFor(size_t frames) const {
    return static_cast<size_t>(factor) * frames;
}

void PolyphaseUpsampler::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    if (factor < 1) {
        throw NodaraException(concat("PolyphaseUpsampler: Invalid factor ", factor));
    }
    checkBlock(framesPerBuffer);
    const scalar* past = takeBlock(in, framesPerBuffer);
    const auto f = static_cast<size_t>(phases);
    const auto groupsPerPhase = static_cast<size_t>(phaseGroups);
    scalar* newestFirst = work[0].lane;
    for (size_t i = 0; i < framesPerBuffer; ++i) {
        const scalar* newest = past + kept + i;
        for (int32 k = 0; k < phaseLength; ++k) {
            newestFirst[k] = *(newest - k);
        }
        scalar* frames = out + i * f;
        size_t p = 0;
        for (; p + 4 <= f; p += 4) {
            fir::dot4(phaseTaps.data() + p * groupsPerPhase, groupsPerPhase, newestFirst, 0,
                      phaseGroups, frames + p);
        }
        for (; p < f; ++p) {
            frames[p] = fir::dot(phaseTaps.data() + p * groupsPerPhase, phaseGroups, newestFirst);
        }
    }
    advance(framesPerBuffer);
}

Filter::IterationResults& PolyphaseUpsampler::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException("PolyphaseUpsampler: Iteration is not supported.");
}

Filter::IterationResults& PolyphaseUpsampler::getLastIterationResults() {
    throw OperationNotSupportedException(
        "PolyphaseUpsampler: getLastIterationResults is not supported.");
}

size_t PolyphaseUpsampler::endIteration(size_t) {
    throw OperationNotSupportedException("PolyphaseUpsampler: endIteration is not supported.");
}

} // namespace nodara
