#include "amp/networks/FilterWrapper.h"

#include "runtime/Exceptions.h"

namespace torvane {

using nodara::NodaraException;

// A wrapper whose calculator was never set is a fault of the start-up step; say so instead of
// following a null pointer.
Filter& FilterWrapper::inner() {
    if (!filter) {
        throw NodaraException("FilterWrapper: " + name + " has no coefficient calculator.");
    }
    return *filter;
}

void FilterWrapper::propertyChanged(const std::string& propertyName, scalar value) {
    if (calculator) {
        calculator->propertyChanged(propertyName, value);
    } else {
        values[propertyName] = value;
    }
}

void FilterWrapper::init(const std::string& wrapperName, std::shared_ptr<DSPContext>& ctx) {
    Filter::init(wrapperName, ctx);
    if (filter) {
        filter->init(wrapperName, ctx);
    }
}

void FilterWrapper::init(const std::string& wrapperName, const Properties& wrapperProperties,
                         std::shared_ptr<DSPContext>& ctx) {
    Filter::init(wrapperName, wrapperProperties, ctx);
    std::string names;
    if (nodara::readProperty(wrapperProperties, "PropertyNames", names, nodara::stringParser)) {
        std::vector<std::string> parameters;
        nodara::splitProperty(names, nodara::listSeparator, parameters);
        for (const auto& parameter : parameters) {
            scalar value = 0.0f;
            if (nodara::readProperty(wrapperProperties, parameter, value, nodara::scalarParser)) {
                values[parameter] = value;
            }
        }
    }
    if (calculator) {
        calculator->init(values);
    }
    if (filter) {
        filter->init(wrapperName, wrapperProperties, ctx);
    }
}

void FilterWrapper::setCalculator(const std::shared_ptr<WrappedFilterPropertyCalculator>& newCalculator) {
    calculator = newCalculator;
    filter = calculator->getFilter();
    if (!values.empty()) {
        calculator->init(values);
    }
    auto owner = context.lock();
    filter->init(name, owner);
}

void FilterWrapper::setSampleRate(scalar sampleRate) {
    if (calculator) {
        calculator->setSampleRate(sampleRate);
    }
}

Filter& FilterWrapper::audioFilter() { return filter ? filter->audioFilter() : *this; }

scalar FilterWrapper::process(scalar in) { return inner().process(in); }

void FilterWrapper::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    inner().process(in, framesPerBuffer);
}

void FilterWrapper::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                            size_t framesPerBuffer) {
    inner().process(in, out, framesPerBuffer);
}

scalar* FilterWrapper::process(scalar* in, size_t framesPerBuffer) {
    return inner().process(in, framesPerBuffer);
}

void FilterWrapper::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    inner().process(in, out, framesPerBuffer);
}

Filter::IterationResults& FilterWrapper::iteration(const IterationResults& in, size_t frame,
                                                   int32 pass) {
    return inner().iteration(in, frame, pass);
}

Filter::IterationResults& FilterWrapper::getLastIterationResults() {
    return inner().getLastIterationResults();
}

size_t FilterWrapper::endIteration(size_t frame) { return inner().endIteration(frame); }

void FilterWrapper::setMaxBlockSize(int32 size) { inner().setMaxBlockSize(size); }

scalar* FilterWrapper::getOutput(int32 index) { return inner().getOutput(index); }

std::vector<scalar*>& FilterWrapper::getOutputs() { return inner().getOutputs(); }

std::shared_ptr<ElementMeta> FilterWrapper::getMeta() { return nodara::BasicFilterMeta::instance(); }

void FilterWrapper::reset() { inner().reset(); }

void FilterWrapper::settle(const std::vector<scalar*>& in, size_t frames) {
    inner().settle(in, frames);
}

} // namespace torvane
