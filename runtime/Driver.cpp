#include "runtime/Driver.h"

#include "runtime/Context.h"
#include "runtime/Element.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/topological_sort.hpp>

#include <cmath>
#include <cstring>
#include <iterator>
#include <list>
#include <set>
#include <thread>

namespace nodara {

namespace {

/// Clears the processing flag when a block ends, also by an exception, so that a failed block
/// cannot leave `setSuspended` waiting for ever.
class ProcessingGuard {
public:
    explicit ProcessingGuard(std::atomic<bool>& flag) : flag(flag) {}
    ~ProcessingGuard() { flag.store(false, std::memory_order_release); }
    ProcessingGuard(const ProcessingGuard&) = delete;
    ProcessingGuard& operator=(const ProcessingGuard&) = delete;

private:
    std::atomic<bool>& flag;
};

/// Releases a control's lock and marks its value consumed, also when a target refused it.
class ControlApplication {
public:
    explicit ControlApplication(Control& control) : control(control) {}
    ~ControlApplication() {
        control.clearDirty();
        control.unlock();
    }
    ControlApplication(const ControlApplication&) = delete;
    ControlApplication& operator=(const ControlApplication&) = delete;

private:
    Control& control;
};

} // namespace

void Driver::init(const SystemLayout& layout) {
    takeGraphs(layout);
    computeOrder();
    sizeBuffers();
    for (const auto& graph : *graphs) {
        graph->init();
    }
    if (maxBlockSize > 0) {
        applyBlockSizes();
    }
    controls = layout.controls;
    bindProperties();
    if (fusion) {
        fusion->plan(*this);
    }
    initialized = true;
}

void Driver::takeGraphs(const SystemLayout& layout) {
    graphs = layout.graphs;
    for (const auto& graph : *graphs) {
        graph->getContext()->setDriver(shared_from_this());
        graphsByName[graph->getName()] = graph;
    }
    inputGraphs = layout.inputGraphs;
    inputNodes = layout.inputNodes;
    outputGraphs = layout.outputGraphs;
    outputNodes = layout.outputNodes;
}

// The input list is as wide as the widest graph, by its declared inputs or by its wires.
void Driver::sizeBuffers() {
    size_t widest = 0;
    for (size_t g = 0; g < graphs->size(); ++g) {
        widest = std::max(widest, static_cast<size_t>((*graphs)[g]->getNumberOfInputs()));
        if (const auto& sources = (*inputGraphs)[g]) {
            widest = std::max(widest, sources->size());
        }
    }
    graphInputs.assign(widest, nullptr);
    multipliers.assign(graphs->size(), 1.0);
    nominalMultipliers.assign(graphs->size(), 1.0);
    graphRates.assign(graphs->size(), 0.0f);
    graphRatios.assign(graphs->size(), 0.0);
    updateMultipliers();
    outputs->assign(outputGraphs ? outputGraphs->size() : 0, nullptr);
}

// One vertex per graph and one edge per distinct source graph; sources come first.
void Driver::computeOrder() {
    using GraphNet = boost::adjacency_list<boost::setS, boost::vecS, boost::directedS>;
    GraphNet net(graphs->size());
    for (size_t g = 0; g < graphs->size(); ++g) {
        if (const auto& sources = (*inputGraphs)[g]) {
            for (int32 source : *sources) {
                if (source >= 0) {
                    boost::add_edge(static_cast<size_t>(source), g, net);
                }
            }
        }
    }
    std::list<size_t> sorted;
    try {
        boost::topological_sort(net, std::front_inserter(sorted));
    } catch (const boost::not_a_dag&) {
        throw NodaraException("Graphs do not form a DAG.");
    }
    order.assign(sorted.begin(), sorted.end());
}

void Driver::updateMultipliers() {
    for (const auto& graph : *graphs) {
        graph->setInputMultiplier(1.0);
    }
    for (int32 g : order) {
        auto& graph = (*graphs)[static_cast<size_t>(g)];
        double m = -1.0;
        if (const auto& sources = (*inputGraphs)[static_cast<size_t>(g)]) {
            for (int32 source : *sources) {
                const double c =
                    source < 0 ? 1.0 : (*graphs)[static_cast<size_t>(source)]->getOutputMultiplier();
                if (!(m > 0.0)) {
                    m = c;
                } else if (std::fabs(c - m) > multiplierTolerance) {
                    throw NodaraException("Invalid input multipliers for graph " +
                                          graph->getName());
                }
            }
        }
        if (const double rate = graph->getMultiplier() * m; !(rate <= limits::rateMultiplier)) {
            limits::requireAtMost("Driver: graph " + graph->getName(), "rate multiplier", rate,
                                  limits::rateMultiplier);
        }
        graph->setInputMultiplier(m);
        multipliers[static_cast<size_t>(g)] = m;
    }
    updateNominalMultipliers();
    if (outputGraphs) {
        for (int32 source : *outputGraphs) {
            if (source < 0) {
                continue;
            }
            // Rates are products of ratios such as 8 and 1/8, which need not give exactly 1.
            const double m = (*graphs)[static_cast<size_t>(source)]->getOutputMultiplier();
            if (std::fabs(m - 1.0) > multiplierTolerance) {
                throw NodaraException(concat("Invalid multiplier. Expected 1 but got ", m));
            }
        }
    }
}

// The rates as if no graph were off or bypassed: what an inactive graph will run at once it is
// switched in, so that switching costs no redesign. -1 where the sources disagree.
void Driver::updateNominalMultipliers() {
    for (int32 g : order) {
        double m = -1.0;
        bool consistent = true;
        if (const auto& sources = (*inputGraphs)[static_cast<size_t>(g)]) {
            for (int32 source : *sources) {
                const double c =
                    source < 0 ? 1.0
                               : nominalMultipliers[static_cast<size_t>(source)] *
                                     (*graphs)[static_cast<size_t>(source)]->getMultiplier();
                if (!(c > 0.0) || c > limits::rateMultiplier ||
                    (m > 0.0 && std::fabs(c - m) > multiplierTolerance)) {
                    consistent = false;
                }
                m = c;
            }
        }
        nominalMultipliers[static_cast<size_t>(g)] = consistent ? m : -1.0;
    }
}

double Driver::designMultiplier(size_t graph) const {
    const auto& candidate = (*graphs)[graph];
    const bool active = !candidate->isOff() && !candidate->isBypassed();
    return active || !(nominalMultipliers[graph] > 0.0) ? multipliers[graph]
                                                        : nominalMultipliers[graph];
}

// Only graphs whose design moved are told: a redesign allocates, and switching a branch or a
// chain in or out must not. A graph's filters depend on its input rate and, in a resampling
// element, on its own ratio.
void Driver::applyRates() {
    for (size_t g = 0; g < graphs->size(); ++g) {
        const auto& graph = (*graphs)[g];
        const scalar rate = static_cast<scalar>(designMultiplier(g)) * sampleRate;
        if (rate != graphRates[g] || graph->getMultiplier() != graphRatios[g]) {
            graph->setSampleRate(rate);
            graphRates[g] = rate;
            graphRatios[g] = graph->getMultiplier();
        }
    }
}

// A graph's buffers hold a block at its present rate and at the rate it has when every graph
// is active. Buffers only grow, so telling a graph a size it had costs nothing; an element
// whose buffers follow its own factor grows them here after a factor change.
void Driver::applyBlockSizes() {
    for (size_t g = 0; g < graphs->size(); ++g) {
        (*graphs)[g]->setMaxBlockSize(std::max(blockSizeFor(g, maxBlockSize),
                                               blockSizeAt(nominalMultipliers[g], maxBlockSize)));
    }
}

void Driver::bindProperties() {
    if (!controls) {
        return;
    }
    properties = std::make_shared<std::vector<std::shared_ptr<Property>>>();
    std::set<std::string> seen;
    for (const auto& control : *controls) {
        for (const auto& property : *control->getProperties()) {
            const std::string key =
                property->graphName + '\n' + property->name + '\n' + property->elementName;
            if (!seen.insert(key).second) {
                throw NodaraException(
                    "Driver: Multiple definitions of the same property. Property name: " +
                    property->name + " graph: " + property->graphName +
                    " element: " + property->elementName);
            }
            property->index = static_cast<int32>(properties->size());
            properties->push_back(property);
        }
    }
    for (const auto& property : *properties) {
        auto found = graphsByName.find(property->graphName);
        if (found == graphsByName.end()) {
            throw NodaraException("Invalid Property: Invalid graph name " + property->graphName +
                                  ". Property, name=" + property->name);
        }
        property->graph = found->second;
        if (!property->elementName.empty()) {
            property->element = found->second->getContext()->getElement(property->elementName);
            if (property->element == nullptr) {
                throw NodaraException("Invalid Property: Invalid element name " +
                                      property->elementName + ". Property, name=" +
                                      property->name);
            }
        }
    }
}

int32 Driver::blockSizeFor(size_t graph, int32 frames) const {
    return blockSizeAt(multipliers[graph], frames);
}

int32 Driver::blockSizeAt(double multiplier, int32 frames) {
    return static_cast<int32>(std::floor(frames * multiplier + 0.5));
}

int32 Driver::getNumberOfSystemInputs() const {
    int32 count = 0;
    for (size_t g = 0; inputGraphs && g < inputGraphs->size(); ++g) {
        const auto& sources = (*inputGraphs)[g];
        for (size_t i = 0; sources && i < sources->size(); ++i) {
            if ((*sources)[i] == -1) {
                count = std::max(count, (*(*inputNodes)[g])[i] + 1);
            }
        }
    }
    for (size_t o = 0; outputGraphs && o < outputGraphs->size(); ++o) {
        if ((*outputGraphs)[o] == -1) {
            count = std::max(count, (*outputNodes)[o] + 1);
        }
    }
    return count;
}

std::shared_ptr<Graph>& Driver::getGraph(std::string name) {
    auto found = graphsByName.find(name);
    if (found == graphsByName.end()) {
        throw InvalidArgumentException(name + " is not a valid graph name.");
    }
    return found->second;
}

void Driver::acquireProcessing() {
    bool idle = false;
    while (!processing.compare_exchange_weak(idle, true, std::memory_order_acquire)) {
        idle = false;
        std::this_thread::yield();
    }
}

void Driver::setSuspended(bool value) {
    acquireProcessing();
    suspended.store(value);
    processing.store(false, std::memory_order_release);
}

void Driver::setSampleRate(scalar rate) {
    if (!(rate > 0.0f) || !std::isfinite(rate)) {
        throw InvalidArgumentException(
            concat("Driver: sampleRate must be greater than zero. sampleRate=", rate));
    }
    acquireProcessing();
    ProcessingGuard guard(processing);
    sampleRate = rate;
    if (initialized) {
        applyRates();
    }
}

void Driver::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw InvalidArgumentException(
            concat("Driver: maxBlockSize must be greater than zero. maxBlockSize=", size));
    }
    acquireProcessing();
    ProcessingGuard guard(processing);
    maxBlockSize = size;
    if (initialized) {
        applyBlockSizes();
    }
}

void Driver::process(const std::vector<scalar*>& inputs, int32 framesPerBuffer) {
    process(inputs, framesPerBuffer, {});
}

void Driver::process(const std::vector<scalar*>& inputs, int32 framesPerBuffer,
                     const std::vector<scalar*>& destinations) {
    if (!initialized) {
        throw NodaraException("Cannot process. Driver is not initialized.");
    }
    // Another thread changes the rates, the buffers or the state, or another block runs: this
    // block must touch nothing, not even the output pointers of the graphs.
    if (processing.exchange(true, std::memory_order_acquire)) {
        throw NodaraException("Driver: Cannot process. Another call is using the driver.");
    }
    ProcessingGuard guard(processing);
    if (suspended.load()) {
        throw NodaraException("Driver: Cannot process. Driver is in the suspend state.");
    }
    if (maxBlockSize < 0) {
        throw NodaraException("Driver: Cannot process. maxBlockSize is not set.");
    }
    if (framesPerBuffer < 0 || framesPerBuffer > maxBlockSize) {
        throw NodaraException(concat("Driver: Cannot process a block of ", framesPerBuffer,
                                     " frames. maxBlockSize=", maxBlockSize));
    }
    applyControls();
    if (graphsChanged.load()) {
        applyRateChange();
    }
    runGraphs(inputs, framesPerBuffer);
    publishOutputs(inputs);
    copyOutputs(destinations, framesPerBuffer);
}

// An output may be the caller's input buffer, which may be the destination too.
void Driver::copyOutputs(const std::vector<scalar*>& destinations, int32 frames) const {
    if (frames <= 0) {
        return;
    }
    const size_t count = std::min(destinations.size(), outputs->size());
    for (size_t i = 0; i < count; ++i) {
        if (destinations[i] != nullptr) {
            std::memmove(destinations[i], (*outputs)[i],
                         static_cast<size_t>(frames) * sizeof(scalar));
        }
    }
}

void Driver::applyControls() {
    if (!controls) {
        return;
    }
    for (const auto& control : *controls) {
        if (!control->isDirty() || !control->tryLock()) {
            continue;
        }
        ControlApplication application(*control);
        for (const auto& target : *control->getProperties()) {
            if (target->element == nullptr) {
                target->graph->setProperty(target->name, target->value);
            } else if (target->type == Property::ScalarType) {
                target->element->propertyChanged(target->name, target->value);
            } else {
                target->element->propertyChanged(target->name, target->vectorValue);
            }
        }
    }
}

// Rates follow a change of multiplier, off or bypass: when a rate really changes, filters are
// redesigned and buffers grow here, on the audio thread, by design.
void Driver::applyRateChange() {
    graphsChanged.store(false);
    updateMultipliers();
    applyRates();
    if (maxBlockSize > 0) {
        applyBlockSizes();
    }
    if (fusion) {
        fusion->plan(*this);
    }
}

scalar* Driver::sourceOf(int32 graph, int32 node, const std::vector<scalar*>& inputs) const {
    if (graph < 0) {
        if (node < 0 || static_cast<size_t>(node) >= inputs.size()) {
            throw NodaraException(concat("Driver: the system reads input ", node, " but ",
                                         inputs.size(), " input(s) were given."));
        }
        return inputs[static_cast<size_t>(node)];
    }
    return (*graphs)[static_cast<size_t>(graph)]->getOutput(node);
}

void Driver::gatherGraphInputs(size_t graph, const std::vector<scalar*>& inputs) {
    std::fill(graphInputs.begin(), graphInputs.end(), nullptr);
    if (const auto& sources = (*inputGraphs)[graph]) {
        const auto& nodes = *(*inputNodes)[graph];
        for (size_t j = 0; j < sources->size(); ++j) {
            graphInputs[j] = sourceOf((*sources)[j], nodes[j], inputs);
        }
    }
}

void Driver::runGraphs(const std::vector<scalar*>& inputs, int32 framesPerBuffer) {
    if (fusion) {
        fusion->prepareBlock();
    }
    for (int32 g : order) {
        const auto index = static_cast<size_t>(g);
        gatherGraphInputs(index, inputs);
        const int32 frames = blockSizeFor(index, framesPerBuffer);
        if (!fusion || !fusion->run(index, graphInputs, frames)) {
            (*graphs)[index]->process(graphInputs, static_cast<size_t>(frames));
        }
    }
}

// Every graph settles at the rate it has when all run, so that the off and bypassed ones
// (a branch or a chain switched in later) start from their operating point as well.
void Driver::settle() {
    if (!initialized) {
        return;
    }
    acquireProcessing();
    ProcessingGuard guard(processing);
    applyControls();
    if (graphsChanged.load()) {
        applyRateChange();
    }
    if (maxBlockSize < 1) {
        return;
    }
    std::vector<scalar> silence(static_cast<size_t>(maxBlockSize), 0.0f);
    const std::vector<scalar*> inputs(
        static_cast<size_t>(std::max(getNumberOfSystemInputs(), 1)), silence.data());
    for (int32 g : order) {
        const auto index = static_cast<size_t>(g);
        const double multiplier = nominalMultipliers[index] > 0.0 ? nominalMultipliers[index]
                                                                  : multipliers[index];
        const int32 frames = blockSizeAt(multiplier, maxBlockSize);
        if (frames > 0) {
            gatherGraphInputs(index, inputs);
            (*graphs)[index]->settle(graphInputs, static_cast<size_t>(frames));
        }
    }
}

void Driver::publishOutputs(const std::vector<scalar*>& inputs) {
    for (size_t i = 0; i < outputs->size(); ++i) {
        (*outputs)[i] = sourceOf((*outputGraphs)[i], (*outputNodes)[i], inputs);
    }
}

} // namespace nodara
