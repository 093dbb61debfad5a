#include "dsp/chains/ChainFusion.h"

#include "dsp/elements/Gain.h"
#include "dsp/elements/LookupTableFilter.h"
#include "dsp/elements/Switch.h"
#include "dsp/recursive/FixedOrderIIR.h"
#include "dsp/resampling/IirDecimator.h"
#include "dsp/resampling/IirInterpolator.h"
#include "runtime/Driver.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace nodara {

namespace {

using kernels::ChainStepKind;

Filter& filterAt(DSPGraph& graph, size_t position) {
    return *graph.getDSPContext()->getFilters()[static_cast<size_t>(graph.getOrder()[position])];
}

int32 portCount(const DSPGraph& graph, int32 filter) {
    const auto& wires = graph.getInputElements()[static_cast<size_t>(filter)];
    return wires ? static_cast<int32>(wires->size()) : 0;
}

template <int N>
void loadRecursion(kernels::ChainStep& step, const FixedOrderIIR<N>& filter) {
    const auto& b = filter.getB();
    const auto& a = filter.getA();
    for (int k = 0; k <= N; ++k) {
        step.coefficients[k] = b[static_cast<size_t>(k)];
    }
    for (int k = 0; k < N; ++k) {
        step.coefficients[N + 1 + k] = a[static_cast<size_t>(k)];
    }
    step.x1 = filter.getInputState()[0];
    step.y1 = filter.getOutputState()[0];
    if constexpr (N > 1) {
        step.x2 = filter.getInputState()[1];
        step.y2 = filter.getOutputState()[1];
    }
}

bool needsSampleUpdates(const Filter& filter) {
    const auto& handler = filter.getPropertiesHandler();
    return handler && handler->needsSampleUpdate();
}

} // namespace

void ChainFusion::reserve(const Driver& owner) {
    const auto& graphs = *owner.getGraphs();
    size_t filters = 0;
    for (const auto& graph : graphs) {
        if (const auto* dsp = dynamic_cast<const DSPGraph*>(graph.get())) {
            filters += dsp->getOrder().size();
        }
    }
    chains.reserve(graphs.size());
    chainOf.reserve(graphs.size());
    chainGraphs.reserve(graphs.size());
    steps.reserve(filters);
    stepFilters.reserve(filters);
    switches.reserve(filters);
}

void ChainFusion::plan(Driver& owner) {
    if (driver != &owner) {
        driver = &owner;
        reserve(owner);
    }
    chains.clear();
    chainGraphs.clear();
    steps.clear();
    stepFilters.clear();
    switches.clear();
    chainOf.assign(owner.getGraphs()->size(), -1);
    for (int32 g : owner.getOrder()) {
        if (chainOf[static_cast<size_t>(g)] < 0) {
            tryChainFrom(static_cast<size_t>(g));
        }
    }
}

bool ChainFusion::active(size_t graph) const {
    const auto& candidate = (*driver->getGraphs())[graph];
    return !candidate->isOff() && !candidate->isBypassed();
}

DSPGraph* ChainFusion::blockGraph(size_t graph) const {
    auto* dsp = dynamic_cast<DSPGraph*>((*driver->getGraphs())[graph].get());
    if (dsp == nullptr || !active(graph) || dsp->getProcessingMethod() != dsp_graph::Block ||
        chainOf[graph] >= 0) {
        return nullptr;
    }
    return dsp;
}

// The walk adds to the shared lists; a candidate that fails takes its entries back.
bool ChainFusion::tryChainFrom(size_t graph) {
    DSPGraph* dsp = blockGraph(graph);
    if (dsp == nullptr) {
        return false;
    }
    const auto& order = dsp->getOrder();
    size_t position = 0;
    IirInterpolator* interpolator = nullptr;
    for (; position < order.size() && interpolator == nullptr; ++position) {
        interpolator = dynamic_cast<IirInterpolator*>(&filterAt(*dsp, position).audioFilter());
    }
    if (interpolator == nullptr || interpolator->getLanes() == nullptr ||
        portCount(*dsp, order[position - 1]) != 1) {
        return false;
    }
    Chain chain{dsp,           position - 1, interpolator, nullptr, nullptr, chainGraphs.size(),
                0,             steps.size(), 0,            0,       switches.size(),
                0,             false,        false};
    chainGraphs.push_back(dsp);
    chainOf[graph] = static_cast<int32>(chains.size());
    Cursor cursor{graph, dsp, position - 1};
    if (follow(chain, cursor)) {
        const Chain middle = chain;
        extendAfter(chain, cursor);
        if (chain.afterCount > 0 && !supported(chain)) {
            shrinkTo(middle);
            chain = middle;
        }
        if (supported(chain)) {
            chains.push_back(chain);
            return true;
        }
    }
    shrinkTo(Chain{nullptr, 0, nullptr, nullptr, nullptr, chain.firstGraph, 0, chain.firstStep,
                   0, 0, chain.firstSwitch, 0, false, false});
    return false;
}

// The entries past `kept`'s go, and their graphs belong to no chain.
void ChainFusion::shrinkTo(const Chain& kept) {
    const auto index = static_cast<int32>(chains.size());
    const auto first = chainGraphs.begin() + static_cast<std::ptrdiff_t>(kept.firstGraph);
    const auto end = first + static_cast<std::ptrdiff_t>(kept.graphCount);
    for (size_t g = 0; g < chainOf.size(); ++g) {
        if (chainOf[g] == index && std::find(first, end, (*driver->getGraphs())[g].get()) == end) {
            chainOf[g] = -1;
        }
    }
    chainGraphs.resize(kept.firstGraph + kept.graphCount);
    steps.resize(kept.firstStep + kept.stepCount + kept.afterCount);
    stepFilters.resize(steps.size());
    switches.resize(kept.firstSwitch + kept.switchCount);
}

// The graphs after the decimator's that hold nothing but steps in a line join the chain, each
// whole; their steps run on each sample the decimator keeps, and the last gives the output.
void ChainFusion::extendAfter(Chain& chain, Cursor cursor) {
    for (;;) {
        const Chain before = chain;
        Cursor next = cursor;
        int32 port = 0;
        if (!nextConsumer(next, port) || next.graph == cursor.graph) {
            return;
        }
        chainGraphs.push_back(next.dsp);
        chainOf[next.graph] = static_cast<int32>(chains.size());
        const auto& order = next.dsp->getOrder();
        bool whole = true;
        for (;;) {
            whole = port == 0 && portCount(*next.dsp, order[next.position]) == 1 &&
                    addStep(filterAt(*next.dsp, next.position).audioFilter());
            if (!whole || next.position + 1 == order.size()) {
                break;
            }
            const size_t graph = next.graph;
            whole = nextConsumer(next, port) && next.graph == graph;
        }
        const auto& outputs = next.dsp->getOutputElements();
        if (!whole || outputs.size() != 1 || outputs[0] != order.back() ||
            next.dsp->getOutputIndices()[0] != 0) {
            shrinkTo(before);
            chain = before;
            return;
        }
        chain.output = &filterAt(*next.dsp, next.position);
        chain.graphCount = chainGraphs.size() - chain.firstGraph;
        chain.afterCount = steps.size() - chain.firstStep - chain.stepCount;
        cursor = next;
    }
}

bool ChainFusion::follow(Chain& chain, Cursor& cursor) {
    bool closed = false;
    while (!closed) {
        int32 port = 0;
        const size_t graph = cursor.graph;
        if (!nextConsumer(cursor, port)) {
            return false;
        }
        if (cursor.graph != graph) {
            chainGraphs.push_back(cursor.dsp);
            chainOf[cursor.graph] = static_cast<int32>(chains.size());
        }
        if (!addElement(chain, cursor, port, closed)) {
            return false;
        }
    }
    chain.graphCount = chainGraphs.size() - chain.firstGraph;
    chain.stepCount = steps.size() - chain.firstStep;
    chain.switchCount = switches.size() - chain.firstSwitch;
    return true;
}

// The producer's output 0 must have one reader: the next filter in the order, or, when it is
// the graph's only output, the first filter of the one graph that reads it.
bool ChainFusion::nextConsumer(Cursor& cursor, int32& port) {
    DSPGraph& dsp = *cursor.dsp;
    const auto& order = dsp.getOrder();
    const int32 producer = order[cursor.position];
    const auto& elements = dsp.getInputElements();
    const auto& outputs = dsp.getInputOutputs();
    int32 readers = 0;
    for (size_t f = 0; f < elements.size(); ++f) {
        for (size_t p = 0; elements[f] && p < elements[f]->size(); ++p) {
            if ((*elements[f])[p] == producer && (*outputs[f])[p] != -1) {
                ++readers;
                port = static_cast<int32>(p);
                if ((*outputs[f])[p] != 0 || cursor.position + 1 >= order.size() ||
                    order[cursor.position + 1] != static_cast<int32>(f)) {
                    return false;
                }
            }
        }
    }
    const auto& graphOutputs = dsp.getOutputElements();
    const auto published = std::count(graphOutputs.begin(), graphOutputs.end(), producer);
    if (readers == 1 && published == 0) {
        ++cursor.position;
        return true;
    }
    if (readers != 0 || graphOutputs.size() != 1 || published != 1 ||
        dsp.getOutputIndices()[0] != 0) {
        return false;
    }
    size_t reader = 0;
    int32 input = 0;
    if (!onlyReaderOf(cursor.graph, reader, input)) {
        return false;
    }
    DSPGraph* next = blockGraph(reader);
    if (next == nullptr || next->getOrder().empty()) {
        return false;
    }
    const int32 first = next->getOrder()[0];
    int32 found = 0;
    const auto& nextElements = next->getInputElements();
    const auto& nextOutputs = next->getInputOutputs();
    for (size_t f = 0; f < nextElements.size(); ++f) {
        for (size_t p = 0; nextElements[f] && p < nextElements[f]->size(); ++p) {
            if ((*nextElements[f])[p] == -1 && (*nextOutputs[f])[p] == input) {
                ++found;
                port = static_cast<int32>(p);
                if (static_cast<int32>(f) != first) {
                    return false;
                }
            }
        }
    }
    cursor = Cursor{reader, next, 0};
    return found == 1;
}

// An off graph reads nothing; a bypassed one passes its input on, so it counts.
bool ChainFusion::onlyReaderOf(size_t graph, size_t& reader, int32& input) const {
    if (const auto& systemOutputs = driver->getOutputGraphs()) {
        if (std::count(systemOutputs->begin(), systemOutputs->end(), static_cast<int32>(graph))) {
            return false;
        }
    }
    const auto& sourceLists = *driver->getInputGraphs();
    int32 readers = 0;
    for (size_t r = 0; r < sourceLists.size(); ++r) {
        const auto& sources = sourceLists[r];
        if (!sources || (*driver->getGraphs())[r]->isOff()) {
            continue;
        }
        for (size_t j = 0; j < sources->size(); ++j) {
            if ((*sources)[j] == static_cast<int32>(graph)) {
                ++readers;
                reader = r;
                input = static_cast<int32>(j);
            }
        }
    }
    return readers == 1;
}

bool ChainFusion::addElement(Chain& chain, const Cursor& at, int32 port, bool& closed) {
    Filter& filter = filterAt(*at.dsp, at.position).audioFilter();
    const int32 index = at.dsp->getOrder()[at.position];
    if (auto* selector = dynamic_cast<Switch*>(&filter)) {
        if (selector->getPosition() != port) {
            return false;
        }
        switches.push_back({selector, port});
        return true;
    }
    if (port != 0 || portCount(*at.dsp, index) != 1) {
        return false;
    }
    if (auto* decimator = dynamic_cast<IirDecimator*>(&filter)) {
        // The decimator ends its graph and gives its only output.
        const auto& outputs = at.dsp->getOutputElements();
        closed = decimator->getLanes() != nullptr &&
                 at.position + 1 == at.dsp->getOrder().size() && outputs.size() == 1 &&
                 outputs[0] == index && at.dsp->getOutputIndices()[0] == 0;
        chain.decimator = decimator;
        chain.output = decimator;
        return closed;
    }
    return addStep(filter);
}

bool ChainFusion::addStep(Filter& filter) {
    kernels::ChainStep step;
    if (dynamic_cast<Gain*>(&filter) != nullptr) {
        step.kind = ChainStepKind::Gain;
    } else if (dynamic_cast<LookupTableFilter*>(&filter) != nullptr) {
        step.kind = ChainStepKind::Lookup;
    } else if (dynamic_cast<FixedOrderIIR<1>*>(&filter) != nullptr) {
        step.kind = ChainStepKind::FirstOrder;
    } else if (dynamic_cast<FixedOrderIIR<2>*>(&filter) != nullptr) {
        step.kind = ChainStepKind::SecondOrder;
    } else {
        return false;
    }
    steps.push_back(step);
    stepFilters.push_back(&filter);
    return true;
}

bool ChainFusion::supported(Chain& chain) {
    CascadeLanes& up = *chain.interpolator->getLanes();
    CascadeLanes& down = *chain.decimator->getLanes();
    kernels::FusedChain fused;
    fused.factor = std::max(chain.interpolator->getFactor(), 1);
    fused.up.stages = up.stageCount();
    fused.down.stages = down.stageCount();
    fused.steps = steps.data() + chain.firstStep;
    fused.stepCount = static_cast<int32>(chain.stepCount);
    fused.after = fused.steps + chain.stepCount;
    fused.afterCount = static_cast<int32>(chain.afterCount);
    return kernels::fusedChainSupported(fused);
}

void ChainFusion::prepareBlock() {
    for (Chain& chain : chains) {
        chain.ready = dynamicConditionsHold(chain);
        chain.running = false;
    }
}

bool ChainFusion::dynamicConditionsHold(const Chain& chain) const {
    const int32 factor = chain.interpolator->getFactor();
    if (factor < 1 || chain.decimator->getFactor() != factor) {
        return false;
    }
    for (size_t s = chain.firstSwitch; s < chain.firstSwitch + chain.switchCount; ++s) {
        if (switches[s].element->getPosition() != switches[s].position) {
            return false;
        }
    }
    for (size_t s = chain.firstStep; s < chain.firstStep + chain.stepCount + chain.afterCount;
         ++s) {
        const Filter& filter = *stepFilters[s];
        if (steps[s].kind == ChainStepKind::Lookup
                ? static_cast<const LookupTableFilter&>(filter).getValues()->size() < 2
                : needsSampleUpdates(filter)) {
            return false;
        }
    }
    return true;
}

bool ChainFusion::run(size_t graph, const std::vector<scalar*>& inputs, int32 frames) {
    if (graph >= chainOf.size() || chainOf[graph] < 0) {
        return false;
    }
    Chain& chain = chains[static_cast<size_t>(chainOf[graph])];
    if (chainGraphs[chain.firstGraph] != (*driver->getGraphs())[graph].get()) {
        return chain.running;
    }
    const long long raised = static_cast<long long>(chain.interpolator->getFactor()) * frames;
    chain.running = chain.ready && raised <= chain.interpolator->getMaxBlockSize() &&
                    raised <= chain.decimator->getMaxBlockSize();
    if (chain.running) {
        runChain(chain, inputs, frames);
    }
    return chain.running;
}

void ChainFusion::runChain(Chain& chain, const std::vector<scalar*>& inputs, int32 frames) {
    if (chain.prefix > 0) {
        chain.head->runFilters(inputs, 0, chain.prefix, static_cast<size_t>(frames));
    }
    CascadeLanes& up = *chain.interpolator->getLanes();
    CascadeLanes& down = *chain.decimator->getLanes();
    up.loadCoefficients();
    down.loadCoefficients();
    kernels::FusedChain fused;
    fused.factor = chain.interpolator->getFactor();
    fused.up = {up.stageCount(), up.coefficientRows(), up.stateRows(), up.rowStride()};
    fused.down = {down.stageCount(), down.coefficientRows(), down.stateRows(), down.rowStride()};
    fused.steps = steps.data() + chain.firstStep;
    fused.stepCount = static_cast<int32>(chain.stepCount);
    fused.after = fused.steps + chain.stepCount;
    fused.afterCount = static_cast<int32>(chain.afterCount);
    loadSteps(chain);
    kernels::runFusedChain(fused, interpolatorInput(chain, inputs),
                           chain.output->getOutput(0), frames);
    saveSteps(chain);
    for (size_t g = chain.firstGraph; g < chain.firstGraph + chain.graphCount; ++g) {
        chainGraphs[g]->publishOutputs();
    }
}

// What the graph would hand the interpolator: a graph input, or an earlier filter's output.
const scalar* ChainFusion::interpolatorInput(const Chain& chain,
                                             const std::vector<scalar*>& inputs) const {
    const auto filter = static_cast<size_t>(chain.head->getOrder()[chain.prefix]);
    const int32 source = (*chain.head->getInputElements()[filter])[0];
    const int32 output = (*chain.head->getInputOutputs()[filter])[0];
    if (output < 0 || source < -1) {
        return nullptr;
    }
    if (source == -1) {
        return static_cast<size_t>(output) < inputs.size() ? inputs[static_cast<size_t>(output)]
                                                            : nullptr;
    }
    const auto& filters = chain.head->getDSPContext()->getFilters();
    return filters[static_cast<size_t>(source)]->getOutput(output);
}

void ChainFusion::loadSteps(const Chain& chain) {
    for (size_t s = chain.firstStep; s < chain.firstStep + chain.stepCount + chain.afterCount;
         ++s) {
        kernels::ChainStep& step = steps[s];
        Filter& filter = *stepFilters[s];
        switch (step.kind) {
        case ChainStepKind::Gain:
            step.coefficients[0] = static_cast<Gain&>(filter).getGain();
            break;
        case ChainStepKind::Lookup: {
            const auto& lookup = static_cast<LookupTableFilter&>(filter);
            step.table = lookup.getValues()->data();
            step.last = static_cast<int32>(lookup.getValues()->size()) - 1;
            step.vinMin = lookup.getVinMin();
            step.deltaV = lookup.getDeltaV();
            step.inverse = lookup.getInverse();
            break;
        }
        case ChainStepKind::FirstOrder:
            loadRecursion(step, static_cast<FixedOrderIIR<1>&>(filter));
            break;
        case ChainStepKind::SecondOrder:
            loadRecursion(step, static_cast<FixedOrderIIR<2>&>(filter));
            break;
        }
    }
}

void ChainFusion::saveSteps(const Chain& chain) {
    for (size_t s = chain.firstStep; s < chain.firstStep + chain.stepCount + chain.afterCount;
         ++s) {
        const kernels::ChainStep& step = steps[s];
        if (step.kind == ChainStepKind::FirstOrder) {
            static_cast<FixedOrderIIR<1>&>(*stepFilters[s]).restoreState({step.x1}, {step.y1});
        } else if (step.kind == ChainStepKind::SecondOrder) {
            static_cast<FixedOrderIIR<2>&>(*stepFilters[s])
                .restoreState({step.x1, step.x2}, {step.y1, step.y2});
        }
    }
}

size_t ChainFusion::fusedCount() const {
    return static_cast<size_t>(
        std::count_if(chains.begin(), chains.end(), [](const Chain& c) { return c.running; }));
}

} // namespace nodara
