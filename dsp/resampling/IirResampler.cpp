#include "dsp/resampling/IirResampler.h"

#include "dsp/recursive/BiQuad.h"
#include "dsp/recursive/Iir.h"
#include "dsp/resampling/RateFactor.h"
#include "filterdesign/Design.h"
#include "filterdesign/IirDesignContext.h"
#include "runtime/DSPContext.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

namespace nodara {

IirResampler::IirResampler(const char* className, const char* stagePrefix)
    : className(className), stagePrefix(stagePrefix) {}

void IirResampler::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Factor") {
        throw InvalidArgumentException("IirInterpolator: Unknown property " + propertyName);
    }
    factor = wholeFactor(value, className);
    // The graph's ratio is the element's whole factor, so that the rates downstream match the
    // frames this element makes.
    if (factor >= 1) {
        moveGraphRate(context.lock(), graphMultiplier(factor));
    }
}

void IirResampler::init(const std::string&, std::shared_ptr<DSPContext>&) {
    throw OperationNotSupportedException("IirDecimator: init(const std::string &name, "
                                         "std::shared_ptr<DSPContext> &context) is not supported.");
}

void IirResampler::init(const std::string& elementName, const Properties& elementProperties,
                        std::shared_ptr<DSPContext>& elementContext) {
    Filter::init(elementName, elementProperties, elementContext);
    readSettings(elementProperties);
    buildStages();
}

void IirResampler::readSettings(const Properties& settings) {
    requireProperty(settings, "CornerFrequency", cornerFrequency, scalarParser,
                    NodaraException(concat(className, ": CornerFrequency is not defined")));
    if (cornerFrequency < 0.0f) {
        throw InvalidArgumentException(concat(className,
                                              ": cornerFrequency must be greater than 0. "
                                              "CornerFrequency=",
                                              cornerFrequency));
    }
    designEnabled = true;
    std::string typeText;
    requireProperty(settings, "Type", typeText, stringParser,
                    NodaraException(concat(className, ": Type must be specified")));
    if (typeText == "BiQuad") {
        type = Type::BiQuad;
    } else if (typeText == "Bessel") {
        type = Type::Bessel;
    } else if (typeText == "Butterworth") {
        type = Type::Butterworth;
    } else {
        throw InvalidArgumentException(concat(className, ": Unknown Type: ", typeText));
    }
    if (type != Type::BiQuad) {
        requireProperty(settings, "Order", order, intParser,
                        NodaraException(concat(className, ": Order must be specified")));
        if (order < 1) {
            throw InvalidArgumentException(
                concat(className, ": Order must be greater than zero. Order=", order));
        }
        limits::requireAtMost(className, "Order", order, limits::designedOrder);
    }
    requireProperty(settings, "Factor", factor, intParser,
                    NodaraException(concat(className, ": Factor must be specified")));
    if (factor < 1) {
        throw InvalidArgumentException(
            concat(className, ": Factor must be greater than 0. Factor=", factor));
    }
    limits::requireAtMost(className, "Factor", factor, limits::factor);
    if (readProperty(settings, "Cascade", cascade, intParser) && cascade < 2) {
        throw InvalidArgumentException(
            concat(className, ": Cascade must be greater than 1. Cascade=", cascade));
    }
    limits::requireAtMost(className, "Cascade", cascade, limits::cascade);
}

void IirResampler::buildStages() {
    auto owner = context.lock();
    stages.clear();
    stages.reserve(static_cast<size_t>(cascade));
    for (int32 i = 0; i < cascade; ++i) {
        std::shared_ptr<Filter> stage;
        if (type == Type::BiQuad || order == 2) {
            stage = std::make_shared<BiQuad>();
        } else {
            stage = std::make_shared<Iir>();
            stage->propertyChanged("Order", static_cast<scalar>(order));
        }
        stage->init(concat(stagePrefix, i), owner);
        stages.push_back(stage);
    }
    lanes = CascadeLanes::suits(stages) ? std::make_unique<CascadeLanes>(stages) : nullptr;
}

void IirResampler::setSampleRate(scalar sampleRate) {
    if (!designEnabled) {
        return;
    }
    const scalar corner = relativeCorner(sampleRate);
    if (corner >= 0.5f) {
        return;
    }
    if (type == Type::BiQuad) {
        throw InvalidArgumentException(concat(className, ": BiQuads are not yet supported!"));
    }
    filterdesign::IirDesignContext design(static_cast<filterdesign::Options>(type), order,
                                          static_cast<double>(corner));
    if (type == Type::Bessel) {
        // Without pre-warping the group delay keeps its shape.
        design.setOption(filterdesign::Options::DoNotPreWarp);
    }
    filterdesign::design(design);
    installDesign(design.getA(), design.getB());
}

void IirResampler::installDesign(const std::shared_ptr<std::vector<scalar>>& a,
                                 const std::shared_ptr<std::vector<scalar>>& b) {
    for (const auto& stage : stages) {
        stage->propertyChanged("A", a);
        stage->propertyChanged("B", b);
    }
}

void IirResampler::checkFactor() const {
    if (factor < 1) {
        throw NodaraException(concat("IirInterpolator: Invalid factor ", factor));
    }
}

scalar* IirResampler::runStages(scalar* input, size_t frames) {
    if (lanes) {
        scalar* output = stages.back()->getOutput(0);
        lanes->run(input, output, frames);
        return output;
    }
    stageInput[0] = input;
    for (const auto& stage : stages) {
        stage->process(stageInput, frames);
        stageInput[0] = stage->getOutputs()[0];
    }
    return stageInput[0];
}

void IirResampler::setStagesMaxBlockSize(int32 size) {
    for (const auto& stage : stages) {
        stage->setMaxBlockSize(size);
    }
}

void IirResampler::reset() {
    for (const auto& stage : stages) {
        stage->reset();
    }
    if (lanes) {
        lanes->reset();
    }
}

scalar IirResampler::process(scalar) {
    throw OperationNotSupportedException(concat(className, ": process(scalar in) is not supported."));
}

scalar* IirResampler::process(scalar*, size_t) {
    throw OperationNotSupportedException(
        concat(className, ": process(scalar* in, size_t framesPerBuffer) is not supported."));
}

void IirResampler::process(const scalar*, scalar*, size_t) {
    throw OperationNotSupportedException(concat(
        className, ": process(const scalar* in, scalar* out, size_t framesPerBuffer) is not supported."));
}

Filter::IterationResults& IirResampler::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException(concat(className, ": Iteration is not supported."));
}

Filter::IterationResults& IirResampler::getLastIterationResults() {
    throw OperationNotSupportedException(
        concat(className, ": getLastIterationResults is not supported."));
}

size_t IirResampler::endIteration(size_t) {
    throw OperationNotSupportedException(concat(className, ": endIteration is not supported."));
}

} // namespace nodara
