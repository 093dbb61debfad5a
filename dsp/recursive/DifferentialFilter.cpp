#include "dsp/recursive/DifferentialFilter.h"

#include "dsp/elements/ElementMetas.h"
#include "kernels/Kernels.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstring>

namespace nodara {

DifferentialFilter::DifferentialFilter()
    : BufferedFilter("DifferentialFilter"),
      plusIndex(DifferentialFilterMeta::instance()->getInputIndex("plus")),
      minusIndex(DifferentialFilterMeta::instance()->getInputIndex("minus")) {}

std::shared_ptr<ElementMeta> DifferentialFilter::getMeta() {
    return DifferentialFilterMeta::instance();
}

void DifferentialFilter::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Gain") {
        throw InvalidArgumentException("DifferentialFilter: Invalid property name " + propertyName);
    }
    gain = value;
}

void DifferentialFilter::init(const std::string& filterName, const Properties& filterProperties,
                              std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, filterProperties, ctx);
    requireProperty(filterProperties, "Gain", gain, scalarParser,
                    NodaraException("Gain is not defined. DifferentialFilter name=" + filterName));
    if (readProperty(filterProperties, "ConstantValueNode", constantValueNode, stringParser)) {
        constantIndex = getMeta()->getInputIndex(constantValueNode);
        requireProperty(filterProperties, "ConstantValue", constantValue, scalarParser,
                        NodaraException("Missing value for constant value node " +
                                        constantValueNode));
        hasConstant = true;
    }
}

void DifferentialFilter::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                                 size_t framesPerBuffer) {
    if (framesPerBuffer == 0) {
        return;
    }
    const scalar* plus = hasConstant && constantIndex == plusIndex ? nullptr : in[plusIndex];
    const scalar* minus = hasConstant && constantIndex == minusIndex ? nullptr : in[minusIndex];
    if (framesPerBuffer < 4) {
        processShort(plus, minus, out[0], framesPerBuffer);
    } else {
        processLong(plus, minus, out[0], framesPerBuffer);
    }
}

// An input that is not wired reads as silence, like the constant's port reads as the constant.
void DifferentialFilter::processShort(const scalar* plus, const scalar* minus, scalar* out,
                                      size_t frames) const {
    const bool constantPlus = hasConstant && constantIndex == plusIndex;
    const bool constantMinus = hasConstant && constantIndex == minusIndex;
    for (size_t i = 0; i < frames; ++i) {
        const scalar p = constantPlus ? constantValue : (plus ? plus[i] : 0.0f);
        const scalar m = constantMinus ? constantValue : (minus ? minus[i] : 0.0f);
        out[i] = (p - m) * gain;
    }
}

void DifferentialFilter::processLong(const scalar* plus, const scalar* minus, scalar* out,
                                     size_t frames) const {
    const auto n = static_cast<int32>(frames);
    if (hasConstant && constantIndex == minusIndex) {
        std::fill_n(out, frames, -(constantValue * gain));
        if (plus) {
            kernels::multiplyAdd(n, gain, plus, out);
        }
        return;
    }
    if (hasConstant && constantIndex == plusIndex) {
        std::fill_n(out, frames, constantValue * gain);
    } else if (plus) {
        std::memmove(out, plus, frames * sizeof(scalar));
        kernels::scale(n, gain, out);
    } else {
        std::fill_n(out, frames, 0.0f);
    }
    if (minus) {
        kernels::multiplyAdd(n, -gain, minus, out);
    }
}

Filter::IterationResults& DifferentialFilter::iteration(const IterationResults& in, size_t, int32) {
    (*iterationResult)[0] = (in->at(0) - in->at(1)) * gain;
    return iterationResult;
}

} // namespace nodara
