#pragma once

#include "runtime/Control.h"
#include "runtime/Graph.h"
#include "runtime/GraphFusion.h"
#include "runtime/Property.h"
#include "runtime/SystemLayout.h"
#include "runtime/Types.h"

#include <atomic>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace nodara {

/// Runs a system: named graphs fed by each other and by the system inputs, in dependency
/// order, each at its own rate (the product of the multipliers upstream), with control values
/// carried to their targets at the head of each block.
///
/// Threads: `process` on the audio thread. `setSuspended`, `settle`, `setSampleRate` and
/// `setMaxBlockSize` from any other thread: each waits for a running block and holds blocks
/// off while it works (a block that comes meanwhile is refused). `setGraphsChanged` from an
/// element during a block.
class Driver : public std::enable_shared_from_this<Driver> {
public:
    using GraphList = SystemLayout::GraphList;
    using IndexList = SystemLayout::IndexList;
    using IndexLists = SystemLayout::IndexLists;
    using ControlList = SystemLayout::ControlList;

    virtual ~Driver() = default;

    /// One block of `framesPerBuffer` frames at the system rate. Refused while suspended, and
    /// while another thread changes the system.
    virtual void process(const std::vector<scalar*>& inputs, int32 framesPerBuffer);
    /// The same, then copies system output i into `destinations[i]` (where not null) before
    /// the block lets go of the driver: another thread may replace the buffers right after.
    void process(const std::vector<scalar*>& inputs, int32 framesPerBuffer,
                 const std::vector<scalar*>& destinations);
    /// The output pointers of the last block.
    virtual std::shared_ptr<std::vector<scalar*>>& getOutputs() { return outputs; }
    virtual std::shared_ptr<Graph>& getGraph(std::string name);
    /// Any thread; waits until a running block has ended.
    virtual void setSuspended(bool value);
    /// Brings every graph, the off and bypassed ones too, to the state that silence at the
    /// system inputs leaves in the long run: what a start should hear, with no thump of
    /// networks charging from rest. Pending control values and rate changes are applied first,
    /// so the first block does not redesign. Off the audio thread: waits for a running block,
    /// and allocates. Needs a block size; does nothing before.
    void settle();
    virtual bool isSuspended() const { return suspended.load(); }
    virtual bool isProcessing() const { return processing.load(); }
    virtual ControlList getControls() const { return controls; }
    /// A graph's multiplier, off or bypass state changed: rates are redone at the next block.
    virtual void setGraphsChanged() { graphsChanged.store(true); }

    /// Takes the system's graphs, wires and controls; orders the graphs, computes their rates
    /// and binds the controls. Documents are read into a layout by the description layer.
    void init(const SystemLayout& layout);
    /// Waits for a running block; redesigns rate-dependent filters. Refuses a rate that is not
    /// a finite number above 0.
    void setSampleRate(scalar rate);
    /// Waits for a running block; allocates. The largest block `process` will be given.
    void setMaxBlockSize(int32 size);

    scalar getSampleRate() const { return sampleRate; }
    int32 getMaxBlockSize() const { return maxBlockSize; }
    const GraphList& getGraphs() const { return graphs; }
    /// How many system inputs the document reads: the largest index used, plus one.
    int32 getNumberOfSystemInputs() const;
    size_t getNumberOfOutputs() const { return outputs->size(); }
    /// The processing order, as graph indices.
    const std::vector<int32>& getOrder() const { return order; }
    /// Per graph and input: the source graph (-1 for the system inputs) and its output node.
    const IndexLists& getInputGraphs() const { return inputGraphs; }
    const IndexLists& getInputNodes() const { return inputNodes; }
    /// Per system output: the source graph (-1 for a system input) and its node.
    const IndexList& getOutputGraphs() const { return outputGraphs; }
    /// Runs chains of graphs sample by sample (GraphFusion.h); before `init`. Null: none.
    void setFusion(std::shared_ptr<GraphFusion> value) { fusion = std::move(value); }
    /// The input multiplier of each graph: its rate relative to the system rate.
    const std::vector<double>& getMultipliers() const { return multipliers; }
    /// Frames a graph handles for `frames` at the system rate.
    int32 blockSizeFor(size_t graph, int32 frames) const;
    /// How far two rate multipliers may differ and still count as the same rate.
    static constexpr double multiplierTolerance = 1e-10;

private:
    void takeGraphs(const SystemLayout& layout);
    void computeOrder();
    void sizeBuffers();
    void updateMultipliers();
    void updateNominalMultipliers();
    /// The multiplier a graph's filters are designed for: its own while it runs; while it is
    /// off or bypassed, the one it will run at once every graph runs.
    double designMultiplier(size_t graph) const;
    void applyRates();
    void applyBlockSizes();
    static int32 blockSizeAt(double multiplier, int32 frames);
    void bindProperties();
    void applyControls();
    void applyRateChange();
    void runGraphs(const std::vector<scalar*>& inputs, int32 framesPerBuffer);
    void gatherGraphInputs(size_t graph, const std::vector<scalar*>& inputs);
    /// Waits until no block runs, and holds the processing flag.
    void acquireProcessing();
    void publishOutputs(const std::vector<scalar*>& inputs);
    void copyOutputs(const std::vector<scalar*>& destinations, int32 frames) const;
    scalar* sourceOf(int32 graph, int32 node, const std::vector<scalar*>& inputs) const;

    std::unordered_map<std::string, std::shared_ptr<Graph>> graphsByName;
    GraphList graphs = std::make_shared<std::vector<std::shared_ptr<Graph>>>();
    IndexLists inputGraphs;
    IndexLists inputNodes;
    IndexList outputGraphs;
    IndexList outputNodes;
    std::vector<double> multipliers;
    /// Input multipliers with every graph active; -1 where they cannot be told.
    std::vector<double> nominalMultipliers;
    /// The rate each graph was last given, and its own multiplier then; 0 before the first.
    std::vector<scalar> graphRates;
    std::vector<double> graphRatios;
    std::vector<scalar*> graphInputs;
    std::shared_ptr<std::vector<scalar*>> outputs = std::make_shared<std::vector<scalar*>>();
    std::shared_ptr<std::vector<std::shared_ptr<Property>>> properties;
    ControlList controls;
    std::vector<int32> order;
    std::shared_ptr<GraphFusion> fusion;
    scalar sampleRate = 44100.0f;
    int32 maxBlockSize = -1;
    bool initialized = false;
    std::atomic<bool> suspended{false};
    std::atomic<bool> processing{false};
    std::atomic<bool> graphsChanged{false};
};

} // namespace nodara
