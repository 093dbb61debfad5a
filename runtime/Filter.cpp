#include "runtime/Filter.h"

#include "runtime/DSPContext.h"
#include "runtime/Exceptions.h"

namespace nodara {

void Filter::propertyChanged(const std::string& propertyName, scalar value) {
    if (!propertiesHandler) {
        throw OperationNotSupportedException(
            "propertyChanged(scalar) is not supported. Filter: " + name);
    }
    propertiesHandler->propertyChanged(propertyName, value);
}

void Filter::init(const std::string& filterName, std::shared_ptr<DSPContext>& filterContext) {
    name = filterName;
    context = filterContext;
}

void Filter::init(const std::string& filterName, const Properties& filterProperties,
                  std::shared_ptr<DSPContext>& filterContext) {
    name = filterName;
    properties = filterProperties;
    context = filterContext;
}

scalar Filter::process(scalar) { throw OperationNotSupportedException(""); }

void Filter::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    process(in, getOutputs(), framesPerBuffer);
}

void Filter::process(const std::vector<scalar*>&, std::vector<scalar*>&, size_t) {
    throw OperationNotSupportedException("");
}

scalar* Filter::process(scalar*, size_t) { throw OperationNotSupportedException(""); }

void Filter::process(const scalar*, scalar*, size_t) { throw OperationNotSupportedException(""); }

void Filter::settle(const std::vector<scalar*>& in, size_t frames) {
    reset();
    if (frames == 0) {
        return;
    }
    const auto owner = context.lock();
    const double rate = owner ? owner->getSampleRate() : 0.0;
    const auto wanted = static_cast<size_t>(settleSeconds * rate);
    for (size_t done = 0; done == 0 || done < wanted; done += frames) {
        process(in, frames);
    }
}

void Filter::setSampleRate(scalar sampleRate) {
    if (propertiesHandler) {
        propertiesHandler->setSampleRate(sampleRate);
    }
}

Filter::IterationResults& Filter::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException(name + ": Iteration is not supported.");
}

Filter::IterationResults& Filter::getLastIterationResults() {
    throw OperationNotSupportedException(name + ": getLastIterationResults is not supported.");
}

size_t Filter::endIteration(size_t) {
    throw OperationNotSupportedException(name + ": endIteration is not supported.");
}

void Filter::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("Filter: Invalid maxBlockSize", size));
    }
    if (size > maxBlockSize) {
        maxBlockSize = size;
    }
}

std::shared_ptr<ElementMeta> Filter::getMeta() { return BasicFilterMeta::instance(); }

void Filter::setPropertiesHandler(const std::shared_ptr<PropertiesHandler>& handler) {
    propertiesHandler = handler;
    if (!properties.empty()) {
        propertiesHandler->init(properties);
    }
}

BufferedFilter::BufferedFilter(const char* className, const char* outputIndexClassName)
    : className(className),
      outputIndexClassName(outputIndexClassName ? outputIndexClassName : className) {}

void BufferedFilter::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    process(in, outputs, framesPerBuffer);
}

size_t BufferedFilter::endIteration(size_t frame) {
    buffer[frame] = (*iterationResult)[0];
    return frame;
}

void BufferedFilter::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat(className, ": Invalid maxBlockSize", size));
    }
    if (size > maxBlockSize) {
        maxBlockSize = size;
        buffer = std::make_unique<scalar[]>(static_cast<size_t>(size));
        outputs[0] = buffer.get();
    }
}

scalar* BufferedFilter::getOutput(int32 index) {
    if (index != 0) {
        throw InvalidArgumentException(
            concat(outputIndexClassName, ": Invalid output index: ", index));
    }
    return buffer.get();
}

} // namespace nodara
