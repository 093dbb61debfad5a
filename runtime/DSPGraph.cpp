#include "runtime/DSPGraph.h"

#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/depth_first_search.hpp>
#include <boost/graph/topological_sort.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <list>
#include <set>

namespace nodara {

namespace {

using FilterNet = boost::adjacency_list<boost::setS, boost::vecS, boost::directedS>;
using NetEdge = boost::graph_traits<FilterNet>::edge_descriptor;

/// Collects the edges that close a cycle.
struct BackEdgeRecorder : boost::default_dfs_visitor {
    explicit BackEdgeRecorder(std::vector<NetEdge>& edges) : edges(&edges) {}
    void back_edge(NetEdge edge, const FilterNet&) const { edges->push_back(edge); }
    std::vector<NetEdge>* edges;
};

} // namespace

void DSPGraph::setConnections(std::vector<Wires> elements, std::vector<Wires> outputIndexes) {
    inputElements = std::move(elements);
    inputOutputs = std::move(outputIndexes);
}

void DSPGraph::setOutputs(std::vector<int32> elements, std::vector<int32> indexes) {
    outputElements = std::move(elements);
    outputIndices = std::move(indexes);
    numberOfOutputs = static_cast<int32>(outputElements.size());
    outputs.assign(outputElements.size(), nullptr);
}

void DSPGraph::init(const Properties& properties) {
    std::string method;
    if (readProperty(properties, "ProcessingMethod", method, stringParser)) {
        if (method == "Block") {
            processingMethod = dsp_graph::Block;
        } else if (method == "Iterative") {
            processingMethod = dsp_graph::Iterative;
        } else if (method == "Sequential") {
            processingMethod = dsp_graph::Sequential;
        } else {
            throw InvalidArgumentException("DSPGraph: Invalid ProcessingMethod property " + method);
        }
    }
    if (processingMethod == dsp_graph::Iterative) {
        readIterationSettings(properties);
    }
    Graph::init(properties);
}

void DSPGraph::readIterationSettings(const Properties& properties) {
    requireProperty(properties, "RelativeTollerance", relativeTollerance, scalarParser,
                    NodaraException("DSPGraph: RelativeTollerance is not defined."));
    requireProperty(properties, "AbsoluteTollerance", absoluteTollerance, scalarParser,
                    NodaraException("DSPGraph: AbsoluteTollerance is not defined."));
    requireProperty(properties, "MaxIterations", maxIterations, intParser,
                    NodaraException("DSPGraph: MaxIterations is not defined."));
    if (!(relativeTollerance > 0.0f)) {
        throw InvalidArgumentException(concat(
            "DSPGraph: RelativeTollerance must be greater than 0. relativeTollerance=",
            relativeTollerance));
    }
    if (!(absoluteTollerance > 0.0f)) {
        throw InvalidArgumentException(concat(
            "DSPGraph: AbsoluteTollerance must be greater than 0. AbsoluteTollerance=",
            absoluteTollerance));
    }
    if (maxIterations <= 0) {
        throw InvalidArgumentException(
            concat("DSPGraph: MaxIterations must be greater than 0. MaxIterations=", maxIterations));
    }
    limits::requireAtMost("DSPGraph", "MaxIterations", maxIterations, limits::iterations);
}

void DSPGraph::init() {
    if (!context) {
        throw NodaraException("Context not set for DSPGraph " + name);
    }
    if (numberOfInputs < 1) {
        throw NodaraException(concat("Invalid number of outputs for DSPGraph ", name,
                                     ", number of outputs: ", numberOfInputs));
    }
    const auto& filters = context->getFilters();
    inputElements.resize(filters.size());
    inputOutputs.resize(filters.size());
    portCounts.clear();
    size_t maxPorts = 0;
    for (Filter* filter : filters) {
        portCounts.push_back(filter->getMeta()->getNumberOfInputs());
        maxPorts = std::max(maxPorts, static_cast<size_t>(portCounts.back()));
    }
    checkGraphInputWires();
    allocateForMethod(maxPorts);
    computeOrder();
    initialized = true;
}

// A wire from a graph input that does not exist would read outside the caller's input list;
// -1 alone marks an unwired port.
void DSPGraph::checkGraphInputWires() const {
    const auto& filters = context->getFilters();
    for (size_t f = 0; f < filters.size(); ++f) {
        if (!inputElements[f]) {
            continue;
        }
        for (size_t port = 0; port < inputElements[f]->size(); ++port) {
            const int32 input = (*inputOutputs[f])[port];
            if ((*inputElements[f])[port] == -1 && (input < -1 || input >= numberOfInputs)) {
                throw NodaraException(concat("DSPGraph: Element ", filters[f]->getName(),
                                             " reads graph input ", input, " but graph ", name,
                                             " has ", numberOfInputs, " input(s)."));
            }
        }
    }
}

void DSPGraph::allocateForMethod(size_t maxPorts) {
    switch (processingMethod) {
    case dsp_graph::Block:
        blockInputs.assign(maxPorts, nullptr);
        break;
    case dsp_graph::Sequential:
        rows.assign(context->getFilters().size(), {});
        sampleInputs.assign(static_cast<size_t>(numberOfInputs), 0.0f);
        sequentialOutputs.assign(static_cast<size_t>(numberOfOutputs), {});
        break;
    case dsp_graph::Iterative:
        iterationInputs = std::make_shared<std::vector<scalar>>(maxPorts, 0.0f);
        results.assign(static_cast<size_t>(numberOfOutputs), 0.0f);
        lastResults.assign(static_cast<size_t>(numberOfOutputs), 0.0f);
        break;
    }
}

// Vertices are the filters plus one for the graph input (number n); one edge per distinct
// source. Feedback methods first drop the edges that close a cycle: there, the document order
// decides where the one-sample delay sits.
void DSPGraph::computeOrder() {
    const auto n = static_cast<int32>(context->getFilters().size());
    FilterNet net(static_cast<size_t>(n) + 1);
    for (int32 f = 0; f < n; ++f) {
        if (!inputElements[f]) {
            continue;
        }
        for (size_t port = 0; port < inputElements[f]->size(); ++port) {
            const int32 source = (*inputElements[f])[port];
            if ((*inputOutputs[f])[port] == -1 || source < -1) {
                continue;
            }
            boost::add_edge(static_cast<size_t>(source == -1 ? n : source),
                            static_cast<size_t>(f), net);
        }
    }
    if (processingMethod != dsp_graph::Block) {
        std::vector<NetEdge> backEdges;
        boost::depth_first_search(net, boost::visitor(BackEdgeRecorder(backEdges)));
        for (const NetEdge& edge : backEdges) {
            if (static_cast<int32>(boost::source(edge, net)) == n ||
                static_cast<int32>(boost::target(edge, net)) == n) {
                throw NodaraException("DSPGraph: A back edge containing graph detected. Cannot "
                                      "create filter processing order.");
            }
            boost::remove_edge(edge, net);
        }
    }
    std::list<size_t> sorted;
    try {
        boost::topological_sort(net, std::front_inserter(sorted));
    } catch (const boost::not_a_dag&) {
        throw NodaraException("Filters do not form a DAG.");
    }
    order.clear();
    for (size_t vertex : sorted) {
        if (static_cast<int32>(vertex) != n) {
            order.push_back(static_cast<int32>(vertex));
        }
    }
}

void DSPGraph::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("DSPGraph: Invalid maxBlockSize", size));
    }
    if (processingMethod == dsp_graph::Sequential) {
        for (Filter* filter : context->getFilters()) {
            filter->setMaxBlockSize(1);
        }
        if (size > maxBlockSize) {
            for (auto& buffer : sequentialOutputs) {
                buffer.resize(static_cast<size_t>(size));
            }
            wireSequentialRows();
        }
    } else {
        for (Filter* filter : context->getFilters()) {
            filter->setMaxBlockSize(size);
        }
    }
    if (static_cast<size_t>(size) > silenceFrames) {
        silence = std::make_unique<scalar[]>(static_cast<size_t>(size));
        silenceFrames = static_cast<size_t>(size);
    }
    maxBlockSize = size;
}

void DSPGraph::setSampleRate(scalar rate) {
    context->setSampleRate(rate);
    if (processingMethod == dsp_graph::Sequential && maxBlockSize > 0) {
        wireSequentialRows();
    }
}

scalar* DSPGraph::sourceBuffer(int32 element, int32 output) const {
    return context->getFilters()[static_cast<size_t>(element)]
        ->getOutputs()[static_cast<size_t>(output)];
}

void DSPGraph::wireSequentialRows() {
    for (size_t f = 0; f < rows.size(); ++f) {
        rows[f].assign(static_cast<size_t>(portCounts[f]), nullptr);
        if (!inputElements[f]) {
            continue;
        }
        for (size_t port = 0; port < rows[f].size() && port < inputElements[f]->size(); ++port) {
            const int32 source = (*inputElements[f])[port];
            const int32 output = (*inputOutputs[f])[port];
            if (output == -1 || source < -1) {
                continue;
            }
            rows[f][port] = source == -1 ? &sampleInputs[static_cast<size_t>(output)]
                                         : sourceBuffer(source, output);
        }
    }
}

void DSPGraph::process(const std::vector<scalar*>& inputs, size_t frames) {
    if (frames > static_cast<size_t>(std::max(maxBlockSize, 0))) {
        throw NodaraException(concat("maxBlockSize is less than input size. DSPGraph name: ", name,
                                     " maxBlockSize: ", maxBlockSize, " input size:", frames));
    }
    process(inputs, outputs, frames);
}

void DSPGraph::process(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                       size_t frames) {
    if (!initialized) {
        throw NodaraException("DSPGraph is not initialized. DSPGraph Name: " + name);
    }
    if (bypassed) {
        if (numberOfInputs != numberOfOutputs) {
            throw NodaraException("DSPGraph: Cannot bypass a graph that does not have the same "
                                  "number of inputs and outputs. Graph name: " +
                                  name);
        }
        runBypass(inputs, out, frames);
    } else if (off) {
        runOff(out, frames);
    } else {
        runMethod(inputs, out, frames);
    }
}

void DSPGraph::runMethod(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                         size_t frames) {
    if (processingMethod == dsp_graph::Block) {
        runBlock(inputs, out, frames);
    } else if (processingMethod == dsp_graph::Sequential) {
        runSequential(inputs, out, frames);
    } else if (processingMethod == dsp_graph::Iterative) {
        runIterative(inputs, out, frames);
    } else {
        throw NodaraException("Invalid processing method");
    }
}

void DSPGraph::reset() {
    for (Filter* filter : context->getFilters()) {
        filter->reset();
    }
}

void DSPGraph::settle(const std::vector<scalar*>& inputs, size_t frames) {
    if (!initialized || frames == 0) {
        return;
    }
    const auto& filters = context->getFilters();
    if (processingMethod == dsp_graph::Block) {
        for (int32 f : order) {
            gatherBlockInputs(static_cast<size_t>(f), inputs);
            filters[static_cast<size_t>(f)]->settle(blockInputs, frames);
        }
        publishOutputs();
        return;
    }
    reset();
    const auto wanted = static_cast<size_t>(Filter::settleSeconds * context->getSampleRate());
    for (size_t done = 0; done == 0 || done < wanted; done += frames) {
        runMethod(inputs, outputs, frames);
    }
}

void DSPGraph::gatherBlockInputs(size_t f, const std::vector<scalar*>& inputs) {
    const auto& sources = inputElements[f];
    const auto& sourceOutputs = inputOutputs[f];
    const auto ports = static_cast<size_t>(portCounts[f]);
    for (size_t port = 0; port < ports; ++port) {
        scalar* pointer = nullptr;
        if (sources && port < sources->size()) {
            const int32 source = (*sources)[port];
            const int32 output = (*sourceOutputs)[port];
            if (output != -1 && source >= -1) {
                pointer = source == -1 ? inputs[static_cast<size_t>(output)]
                                       : sourceBuffer(source, output);
            }
        }
        blockInputs[port] = pointer;
    }
}

void DSPGraph::runBlock(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                        size_t frames) {
    runFilters(inputs, 0, order.size(), frames);
    for (size_t i = 0; i < out.size(); ++i) {
        out[i] = outputBufferOf(i);
    }
}

void DSPGraph::runFilters(const std::vector<scalar*>& inputs, size_t first, size_t end,
                          size_t frames) {
    const auto& filters = context->getFilters();
    for (size_t position = first; position < end; ++position) {
        const auto f = static_cast<size_t>(order[position]);
        gatherBlockInputs(f, inputs);
        filters[f]->process(blockInputs, frames);
    }
}

void DSPGraph::publishOutputs() {
    for (size_t i = 0; i < outputs.size(); ++i) {
        outputs[i] = outputBufferOf(i);
    }
}

scalar* DSPGraph::outputBufferOf(size_t output) {
    if (processingMethod == dsp_graph::Sequential) {
        return sequentialOutputs[output].data();
    }
    return sourceBuffer(outputElements[output], outputIndices[output]);
}

void DSPGraph::runSequential(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                             size_t frames) {
    const auto& filters = context->getFilters();
    const size_t inputCount = std::min(sampleInputs.size(), inputs.size());
    for (size_t frame = 0; frame < frames; ++frame) {
        for (size_t i = 0; i < inputCount; ++i) {
            if (inputs[i] != nullptr) {
                sampleInputs[i] = inputs[i][frame];
            }
        }
        for (size_t f = 0; f < filters.size(); ++f) {
            filters[f]->process(rows[f], 1);
        }
        for (size_t i = 0; i < sequentialOutputs.size(); ++i) {
            sequentialOutputs[i][frame] = sourceBuffer(outputElements[i], outputIndices[i])[0];
        }
    }
    for (size_t i = 0; i < out.size(); ++i) {
        out[i] = sequentialOutputs[i].data();
    }
}

void DSPGraph::runIterative(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                            size_t frames) {
    const auto& filters = context->getFilters();
    for (size_t frame = 0; frame < frames; ++frame) {
        iterateFrame(inputs, frame);
        for (Filter* filter : filters) {
            filter->endIteration(frame);
        }
    }
    for (size_t i = 0; i < out.size(); ++i) {
        out[i] = outputBufferOf(i);
    }
}

// Passes until every output has moved by at most its relative tolerance and by at most the
// absolute tolerance; at least two passes unless MaxIterations is 1.
void DSPGraph::iterateFrame(const std::vector<scalar*>& inputs, size_t frame) {
    const auto& filters = context->getFilters();
    std::fill(lastResults.begin(), lastResults.end(), 0.0f);
    int32 iteration = 0;
    IterationChange change{absoluteTollerance + 1.0f, absoluteTollerance + 1.0f};
    while ((change.relative > 0.0f || change.absolute > absoluteTollerance) &&
           iteration < maxIterations) {
        for (int32 f : order) {
            gatherIterationInputs(static_cast<size_t>(f), inputs, frame);
            filters[static_cast<size_t>(f)]->iteration(iterationInputs, frame, iteration);
        }
        change = collectIterationResults(iteration);
        ++iteration;
    }
}

// The values element f reads in this pass: the frame of a graph input, the latest result of
// another element, or silence for an unwired port.
void DSPGraph::gatherIterationInputs(size_t f, const std::vector<scalar*>& inputs, size_t frame) {
    const auto& filters = context->getFilters();
    const auto& sources = inputElements[f];
    const auto& sourceOutputs = inputOutputs[f];
    auto& values = *iterationInputs;
    const auto ports = static_cast<size_t>(portCounts[f]);
    for (size_t port = 0; port < ports; ++port) {
        scalar value = 0.0f;
        if (sources && port < sources->size()) {
            const int32 source = (*sources)[port];
            const int32 output = (*sourceOutputs)[port];
            if (output != -1 && source == -1) {
                const scalar* input = inputs[static_cast<size_t>(output)];
                value = input ? input[frame] : 0.0f;
            } else if (output != -1 && source >= 0) {
                value = (*filters[static_cast<size_t>(source)]
                              ->getLastIterationResults())[static_cast<size_t>(output)];
            }
        }
        values[port] = value;
    }
}

// Reads the graph's outputs after a pass and measures how far they moved since the last one;
// the first pass counts as not settled.
DSPGraph::IterationChange DSPGraph::collectIterationResults(int32 iteration) {
    const auto& filters = context->getFilters();
    IterationChange change{-1.0f, -1.0f};
    for (size_t i = 0; i < results.size(); ++i) {
        results[i] = (*filters[static_cast<size_t>(outputElements[i])]
                           ->getLastIterationResults())[static_cast<size_t>(outputIndices[i])];
        if (iteration == 0) {
            change = {1.0f, absoluteTollerance + 1.0f};
        } else {
            const scalar difference = std::fabs(results[i] - lastResults[i]);
            change.absolute = std::max(change.absolute, difference);
            change.relative =
                std::max(change.relative, difference - relativeTollerance * std::fabs(results[i]));
        }
    }
    lastResults = results;
    return change;
}

// A bypassed graph hands its inputs on as they are, without a copy: what reads its outputs
// reads them within the same block. A missing input reads as the buffer of zeros.
void DSPGraph::runBypass(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                         size_t frames) {
    for (size_t i = 0; i < out.size(); ++i) {
        scalar* input = i < inputs.size() ? inputs[i] : nullptr;
        if (input != nullptr) {
            out[i] = input;
        } else {
            runOffOutput(out, i, frames);
        }
    }
}

// The outputs of a graph switched off point at one buffer of zeros, written once: no block
// writes it, and a graph that stays off costs nothing per block.
void DSPGraph::runOff(std::vector<scalar*>& out, size_t frames) {
    for (size_t i = 0; i < out.size(); ++i) {
        runOffOutput(out, i, frames);
    }
}

void DSPGraph::runOffOutput(std::vector<scalar*>& out, size_t output, size_t frames) {
    if (frames <= silenceFrames) {
        out[output] = silence.get();
    } else {
        out[output] = outputBufferOf(output);
        std::fill_n(out[output], frames, 0.0f);
    }
}

} // namespace nodara
