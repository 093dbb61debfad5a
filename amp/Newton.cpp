#include "amp/Newton.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>

namespace torvane {

using nodara::concat;
using nodara::InvalidArgumentException;
using nodara::NodaraException;
using nodara::OperationNotSupportedException;

void Newton::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName == "MaxIterations") {
        maxIterations = static_cast<int32>(value);
    } else {
        values[propertyName] = value;
    }
}

void Newton::init(const std::string& filterName, const Properties& filterProperties,
                  std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    const auto missing = [&](const char* key) {
        return NodaraException("Newton: " + filterName + " missing " + key);
    };
    requireProperty(filterProperties, "RelativeError", relativeError, nodara::scalarParser,
                    missing("RelativeError"));
    requireProperty(filterProperties, "AbsoluteError", absoluteError, nodara::scalarParser,
                    missing("AbsoluteError"));
    requireProperty(filterProperties, "MaxIterations", maxIterations, nodara::intParser,
                    missing("MaxIterations"));
    nodara::readProperty(filterProperties, "Relaxation", relaxation, nodara::scalarParser);
    nodara::readProperty(filterProperties, "MaxValue", maxValue, nodara::scalarParser);
    nodara::readProperty(filterProperties, "MinValue", minValue, nodara::scalarParser);
    std::string type;
    requireProperty(filterProperties, "FeedbackType", type, nodara::stringParser,
                    NodaraException("Newton: FeedbackType must be specified"));
    if (type == "Negative") {
        feedbackType = 1;
    } else if (type == "Positive") {
        feedbackType = 0;
    } else {
        throw InvalidArgumentException("Newton: Unknown FeedbackType: " + type);
    }
}

scalar Newton::process(scalar) {
    throw OperationNotSupportedException("Newton: Newton::process Not supported.");
}

scalar* Newton::process(scalar*, size_t) {
    throw OperationNotSupportedException("Newton: Newton::process Not supported.");
}

void Newton::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                     size_t framesPerBuffer) {
    process(in[0], out[0], framesPerBuffer);
}

void Newton::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    step = 1.0f;
    convergence = 1.0f;
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    for (size_t frame = 0; frame < framesPerBuffer; ++frame) {
        const scalar solved = solve(in[frame], frame);
        commit(frame);
        out[frame] = solved;
    }
}

// Passes are counted from 1 as the chain elements see them. A recursive element works out the
// part of its output that its past gives on pass 0 only, so in a chain it acts through its
// present-sample term alone: chains are meant for gains and tables.
scalar Newton::solve(scalar in, size_t frame) {
    int32 passes = 0;
    convergence = 1.0f;
    error = 1.0f;
    while (!(convergence <= 0.0f && std::fabs(error) <= absoluteError) && passes < maxIterations) {
        step = 1.0f;
        ++passes;
        (*value)[0] = estimate;
        runChain(feedback, feedbackDerivative, frame, passes);
        (*value)[0] = in - (*value)[0];
        runChain(forward, forwardDerivative, frame, passes);
        denominator = step + 1.0f;
        error = estimate - (*value)[0];
        step = relaxation * error / denominator;
        next = estimate - step;
        convergence = std::fabs(step) - std::fabs(next) * relativeError;
        estimate = std::max(std::min(next, maxValue), minValue);
    }
    return next;
}

void Newton::runChain(const Chain& chain, const Chain& derivative, size_t frame, int32 pass) {
    for (size_t i = 0; i < chain.size(); ++i) {
        const scalar result = (*chain[i]->iteration(value, frame, pass))[0];
        step *= (*derivative[i]->iteration(value, frame, pass))[0];
        (*value)[0] = result;
    }
}

void Newton::commit(size_t frame) {
    for (Chain* chain : allChains()) {
        for (const auto& element : *chain) {
            element->endIteration(frame);
        }
    }
}

std::array<Newton::Chain*, 4> Newton::allChains() {
    return {&forward, &forwardDerivative, &feedback, &feedbackDerivative};
}

void Newton::setSampleRate(scalar sampleRate) {
    Filter::setSampleRate(sampleRate);
    for (Chain* chain : allChains()) {
        for (const auto& element : *chain) {
            element->setSampleRate(sampleRate);
        }
    }
}

void Newton::setMaxBlockSize(int32 size) {
    BufferedFilter::setMaxBlockSize(size);
    checkChains();
    for (Chain* chain : allChains()) {
        for (const auto& element : *chain) {
            element->setMaxBlockSize(size);
        }
    }
}

void Newton::reset() {
    for (Chain* chain : allChains()) {
        for (const auto& element : *chain) {
            element->reset();
        }
    }
    estimate = 0.0f;
    next = 0.0f;
}

void Newton::addForward(const std::shared_ptr<Filter>& filter) {
    forward.push_back(filter);
}

void Newton::addForwardDerivative(const std::shared_ptr<Filter>& filter) {
    forwardDerivative.push_back(filter);
}

void Newton::addFeedback(const std::shared_ptr<Filter>& filter) {
    feedback.push_back(filter);
}

void Newton::addFeedbackDerivative(const std::shared_ptr<Filter>& filter) {
    feedbackDerivative.push_back(filter);
}

const std::vector<std::string>& Newton::getChainNames() const {
    static const std::vector<std::string> names = {"Forward", "ForwardDerivative", "Feedback",
                                                   "FeedbackDerivative"};
    return names;
}

void Newton::addToChain(const std::string& chain, const std::shared_ptr<Filter>& filter) {
    if (chain == "Forward") {
        addForward(filter);
    } else if (chain == "ForwardDerivative") {
        addForwardDerivative(filter);
    } else if (chain == "Feedback") {
        addFeedback(filter);
    } else if (chain == "FeedbackDerivative") {
        addFeedbackDerivative(filter);
    } else {
        throw InvalidArgumentException("Newton: Unknown chain " + chain);
    }
}

void Newton::checkChains() const {
    const auto check = [this](const Chain& chain, const Chain& derivative, const char* chainName) {
        if (chain.size() != derivative.size()) {
            throw InvalidArgumentException(
                concat("Newton: ", name, " has ", chain.size(), " ", chainName, " elements and ",
                       derivative.size(), " ", chainName,
                       "Derivative elements; each needs one derivative element beside it."));
        }
    };
    check(forward, forwardDerivative, "Forward");
    check(feedback, feedbackDerivative, "Feedback");
}

} // namespace torvane
