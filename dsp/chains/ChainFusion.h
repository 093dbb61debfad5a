#pragma once

#include "kernels/signal/FusedChain.h"
#include "runtime/DSPGraph.h"
#include "runtime/GraphFusion.h"

#include <vector>

namespace nodara {

class Filter;
class IirDecimator;
class IirInterpolator;
class Switch;

/// Finds, among a driver's graphs, the chains an IIR interpolator opens and an IIR decimator
/// closes, with only steps of the kinds the fused kernel knows between them (gain, lookup
/// table, first- and second-order IIR) and switches passing one of them on, each output read
/// by nothing but the next (an off graph reads nothing), and after it the whole graphs of such
/// steps that follow; and runs each such chain in one loop, sample by sample
/// (kernels::runFusedChain), with the bits of its elements run one after another. The filters
/// before the interpolator in its graph run as usual, first; the decimator ends its graph.
/// Only the chain's last graph's outputs are written; the others point at their filters'
/// buffers, which a fused block leaves as they were.
///
/// A chain runs element by element in a block where a switch has moved off it, a recursion
/// needs its coefficients sample by sample, a table has fewer than two entries, or the two
/// factors differ. Coefficients and state stay in the elements, read at the start of every
/// fused block and written back at its end, so the two ways alternate seamlessly.
///
/// Threads: as GraphFusion. Storage is reserved at the first plan, so later plans (at the
/// head of a block after a switch) allocate nothing.
class ChainFusion : public GraphFusion {
public:
    void plan(Driver& driver) override;
    void prepareBlock() override;
    bool run(size_t graph, const std::vector<scalar*>& inputs, int32 frames) override;

    /// How many chains the last plan found, and how many of them the last block ran fused.
    size_t chainCount() const { return chains.size(); }
    size_t fusedCount() const;

private:
    struct SwitchCondition {
        Switch* element;
        int32 position;
    };
    struct Chain {
        DSPGraph* head;
        /// The interpolator's position in the head's order: the filters before it run first.
        size_t prefix;
        IirInterpolator* interpolator;
        IirDecimator* decimator;
        /// The filter whose output 0 takes the chain's: the decimator or the last step after it.
        Filter* output;
        size_t firstGraph, graphCount;
        /// The steps between the cascades, then those after the decimator.
        size_t firstStep, stepCount, afterCount;
        size_t firstSwitch, switchCount;
        bool ready;
        bool running;
    };
    /// Where a chain's walk stands: the graph, the position in its order, the filter there.
    struct Cursor {
        size_t graph;
        DSPGraph* dsp;
        size_t position;
    };

    void reserve(const Driver& driver);
    bool tryChainFrom(size_t graph);
    /// Walks from the interpolator to the decimator; leaves `cursor` at the decimator.
    bool follow(Chain& chain, Cursor& cursor);
    void extendAfter(Chain& chain, Cursor cursor);
    void shrinkTo(const Chain& kept);
    bool nextConsumer(Cursor& cursor, int32& port);
    bool onlyReaderOf(size_t graph, size_t& reader, int32& input) const;
    bool addElement(Chain& chain, const Cursor& at, int32 port, bool& closed);
    bool addStep(Filter& filter);
    bool active(size_t graph) const;
    DSPGraph* blockGraph(size_t graph) const;
    bool supported(Chain& chain);
    bool dynamicConditionsHold(const Chain& chain) const;
    void loadSteps(const Chain& chain);
    void saveSteps(const Chain& chain);
    void runChain(Chain& chain, const std::vector<scalar*>& inputs, int32 frames);
    const scalar* interpolatorInput(const Chain& chain, const std::vector<scalar*>& inputs) const;

    const Driver* driver = nullptr;
    std::vector<Chain> chains;
    /// Per graph: the chain that holds it, -1 for none.
    std::vector<int32> chainOf;
    std::vector<DSPGraph*> chainGraphs;
    std::vector<kernels::ChainStep> steps;
    /// The element of each step, which owns its coefficients and state.
    std::vector<Filter*> stepFilters;
    std::vector<SwitchCondition> switches;
};

} // namespace nodara
