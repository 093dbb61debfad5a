#include "circuit/Circuit.h"

#include "runtime/Exceptions.h"
#include "runtime/Filter.h"

#include <algorithm>

namespace nodara {

namespace {
/// Solves the operating point of a circuit that did not start from one may take: each solve
/// call is bounded by the solver's own MaxIterations.
constexpr int operatingPointSolves = 100;
} // namespace

void Circuit::setOutputs(const std::shared_ptr<std::vector<std::string>>& names) {
    outputNames = names;
    numberOfOutputs = names ? static_cast<int32>(names->size()) : 0;
    buffers.assign(static_cast<size_t>(numberOfOutputs),
                   std::vector<scalar>(static_cast<size_t>(std::max(maxBlockSize, 0)), 0.0f));
    outputs.resize(buffers.size());
    for (size_t j = 0; j < buffers.size(); ++j) {
        outputs[j] = buffers[j].data();
    }
    context->setOutputNames(names);
}

void Circuit::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw InvalidArgumentException("Graph: Invalid maxBlockSize");
    }
    if (size <= maxBlockSize) {
        return;
    }
    maxBlockSize = size;
    for (size_t j = 0; j < buffers.size(); ++j) {
        buffers[j].assign(static_cast<size_t>(size), 0.0f);
        outputs[j] = buffers[j].data();
    }
}

void Circuit::setSampleRate(scalar rate) {
    context->setSampleRate(rate);
    if (initialized) {
        analysis->solver->recompute();
    }
}

void Circuit::init() {
    if (!analysis) {
        throw NodaraException("Analysis is not set for Circuit " + name);
    }
    if (!analysis->solver) {
        throw NodaraException("Analysis: Solver is not set for Circuit " + name);
    }
    if (!context) {
        throw NodaraException("Context not set for Circuit " + name);
    }
    if (numberOfInputs > 0) {
        inputValues = std::make_shared<std::vector<scalar>>(static_cast<size_t>(numberOfInputs));
    }
    if (analysis->type == Analysis::AC) {
        if (analysis->initialCondition == Analysis::OperatingPoint) {
            solveInitialOperatingPoint();
        } else if (analysis->initialCondition == Analysis::Zero) {
            initializeAt(1);
        } else {
            throw NodaraException("Invalid initial condition for Circuit " + name);
        }
    } else {
        initializeAt(0);
    }
    analysis->solver->init(context);
    context->setMatrixChanged(false);
    initialized = true;
}

void Circuit::initializeAt(int32 mode) {
    context->setAnalysisMode(mode);
    context->build();
    context->setInputs(inputValues);
    x = Eigen::VectorXf::Zero(context->getSize());
    context->setSolution(x);
}

// The DC solution, with the inputs at 0, is where time starts; the switch to AC then tells
// each capacitor to take its first step from it.
void Circuit::solveInitialOperatingPoint() {
    if (!analysis->dcSolver) {
        throw NodaraException("DC Solver is not set for Circuit " + name);
    }
    initializeAt(0);
    analysis->dcSolver->init(context);
    const bool converged = analysis->dcSolver->solve(x);
    context->setSolution(x);
    startingPoint = std::make_unique<OperatingPoint>(OperatingPoint{x, converged});
    context->setAnalysisMode(1);
}

Circuit::OperatingPoint Circuit::getOperatingPoint() {
    if (!initialized) {
        throw NodaraException("Circuit is not initialized. Circuit Name: " + name);
    }
    return startingPoint ? *startingPoint : solveOperatingPointNow();
}

Circuit::OperatingPoint Circuit::solveOperatingPointNow() {
    Solver& solver = *analysis->solver;
    const bool timeStepping = context->getAnalysisMode() == 1;
    if (timeStepping) {
        context->setAnalysisMode(0);
        solver.recompute();
    }
    OperatingPoint point{Eigen::VectorXf::Zero(context->getSize()), false};
    for (int call = 0; call < operatingPointSolves && !point.converged; ++call) {
        point.converged = solver.solve(point.x);
    }
    if (timeStepping) {
        context->setAnalysisMode(1);
        solver.recompute();
    }
    return point;
}

void Circuit::process(const std::vector<scalar*>& inputs, size_t frames) {
    if (frames > static_cast<size_t>(std::max(maxBlockSize, 0))) {
        throw NodaraException(concat("maxBlockSize is less than input size. Circuit name: ", name,
                                     " maxBlockSize: ", maxBlockSize, " input size:", frames));
    }
    process(inputs, outputs, frames);
}

void Circuit::process(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                      size_t frames) {
    if (!initialized) {
        throw NodaraException("Circuit is not initialized. Circuit Name: " + name);
    }
    if (numberOfInputs > 0 && static_cast<size_t>(numberOfInputs) > inputs.size()) {
        throw NodaraException("Circuit:process: number of inputs does not match the number of "
                              "arrays in the input vector. Circuit Name: " +
                              name);
    }
    if (static_cast<size_t>(numberOfOutputs) != out.size()) {
        throw NodaraException("Circuit:process: number of outputs does not match the number of "
                              "arrays in the output vector. Circuit Name: " +
                              name);
    }
    for (int32 j = 0; j < numberOfInputs; ++j) {
        if (inputs[static_cast<size_t>(j)] == nullptr) {
            throw NodaraException(concat("Circuit:process: input ", j,
                                         " is not connected. Circuit Name: ", name));
        }
    }
    if (bypassed) {
        doBypass(inputs, out, frames);
        return;
    }
    if (off) {
        for (scalar* channel : out) {
            std::fill(channel, channel + frames, 0.0f);
        }
        return;
    }
    if (context->isMatrixChanged()) {
        analysis->solver->recompute();
        context->setMatrixChanged(false);
    }
    runSamples(inputs, out, frames);
}

void Circuit::runSamples(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                         size_t frames) {
    x = context->getSolution();
    const bool timeStepping = context->getAnalysisMode() == 1;
    for (size_t i = 0; i < frames; ++i) {
        for (int32 j = 0; j < numberOfInputs; ++j) {
            (*inputValues)[static_cast<size_t>(j)] = inputs[static_cast<size_t>(j)][i];
        }
        const std::vector<scalar>& values = solveSample(timeStepping);
        for (size_t j = 0; j < out.size(); ++j) {
            out[j][i] = values[j];
        }
    }
}

const std::vector<scalar>& Circuit::solveSample(bool timeStepping) {
    if (timeStepping) {
        context->stepListeners();
    }
    analysis->solver->solve(x);
    context->setSolution(x);
    return *context->getOutputs();
}

void Circuit::settle(const std::vector<scalar*>& inputs, size_t frames) {
    if (!initialized || frames == 0) {
        return;
    }
    // An input not wired is left for the first block to report.
    const bool connected =
        inputs.size() >= static_cast<size_t>(numberOfInputs) &&
        std::none_of(inputs.begin(), inputs.begin() + numberOfInputs,
                     [](const scalar* input) { return input == nullptr; });
    if (!connected) {
        return;
    }
    if (context->isMatrixChanged()) {
        analysis->solver->recompute();
        context->setMatrixChanged(false);
    }
    for (int32 j = 0; j < numberOfInputs; ++j) {
        (*inputValues)[static_cast<size_t>(j)] = inputs[static_cast<size_t>(j)][0];
    }
    x = context->getSolution();
    const bool timeStepping = context->getAnalysisMode() == 1;
    const auto samples = static_cast<size_t>(Filter::settleSeconds * context->getSampleRate());
    for (size_t i = 1; i < samples; ++i) {
        solveSample(timeStepping);
    }
    const std::vector<scalar>& values = solveSample(timeStepping);
    if (bypassed) {
        doBypass(inputs, outputs, frames);
        return;
    }
    for (size_t j = 0; j < outputs.size(); ++j) {
        std::fill(outputs[j], outputs[j] + frames, off ? 0.0f : values[j]);
    }
}

void Circuit::doBypass(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                       size_t frames) {
    if (numberOfInputs != numberOfOutputs) {
        throw NodaraException("Circuit:doBypass: number of inputs does not match the number of "
                              "outptus. Circuit Name: " +
                              name);
    }
    for (size_t j = 0; j < out.size(); ++j) {
        std::copy(inputs[j], inputs[j] + frames, out[j]);
    }
}

} // namespace nodara
