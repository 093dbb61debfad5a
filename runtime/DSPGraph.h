#pragma once

#include "runtime/DSPContext.h"
#include "runtime/Graph.h"

#include <memory>
#include <vector>

namespace nodara {

namespace dsp_graph {
/// Block: a plain acyclic net, whole blocks at a time. Sequential: sample by sample, so that
/// a feedback wire carries one sample of delay. Iterative: feedback solved within each
/// sample by repeated passes until the outputs settle.
enum ProcessingMethod : int32 { Block = 0, Sequential = 1, Iterative = 2 };
} // namespace dsp_graph

/// A graph of filters wired by their ports.
///
/// Wiring marks, per filter and input port: the source filter's index, -1 for the graph's own
/// input, -2 for none; and the source's output index (or the graph input's index), -1 for none.
class DSPGraph : public Graph {
public:
    using Wires = std::shared_ptr<std::vector<int32>>;

    std::shared_ptr<Context> getContext() override { return context; }
    const std::shared_ptr<DSPContext>& getDSPContext() const { return context; }
    void setContext(const std::shared_ptr<DSPContext>& dspContext) { context = dspContext; }

    /// Per filter in document order: its source filters and source outputs; null for a filter
    /// without inputs.
    void setConnections(std::vector<Wires> elements, std::vector<Wires> outputIndexes);
    /// Per graph output: the filter that gives it, and that filter's output index.
    void setOutputs(std::vector<int32> elements, std::vector<int32> indexes);

    /// Reads `ProcessingMethod` and, for Iterative, its three tolerances.
    void init(const Properties& properties) override;
    void init() override;
    void setMaxBlockSize(int32 size) override;
    void setSampleRate(scalar rate) override;
    void process(const std::vector<scalar*>& inputs, size_t frames) override;
    void process(const std::vector<scalar*>& inputs, std::vector<scalar*>& outputs,
                 size_t frames) override;
    void reset() override;
    /// Block: each filter settles in turn on what the filters before it settled to. The
    /// feedback methods clear their filters and run for the filters' settling time.
    void settle(const std::vector<scalar*>& inputs, size_t frames) override;

    dsp_graph::ProcessingMethod getProcessingMethod() const { return processingMethod; }
    /// The filter processing order, filter indices.
    const std::vector<int32>& getOrder() const { return order; }
    /// The wiring as set: per filter, its source filters and their outputs.
    const std::vector<Wires>& getInputElements() const { return inputElements; }
    const std::vector<Wires>& getInputOutputs() const { return inputOutputs; }
    /// Per graph output: its filter and that filter's output index.
    const std::vector<int32>& getOutputElements() const { return outputElements; }
    const std::vector<int32>& getOutputIndices() const { return outputIndices; }
    /// Block method: the filters at positions [first, end) of the order, each over the block
    /// as `process` runs them, for a caller that runs the rest of the graph itself.
    void runFilters(const std::vector<scalar*>& inputs, size_t first, size_t end, size_t frames);
    /// Block method: points the graph's outputs at the buffers of the filters that give them.
    void publishOutputs();

private:
    void readIterationSettings(const Properties& properties);
    void checkGraphInputWires() const;
    void computeOrder();
    void allocateForMethod(size_t maxPorts);
    void wireSequentialRows();
    scalar* sourceBuffer(int32 element, int32 output) const;
    scalar* outputBufferOf(size_t output);

    void runBlock(const std::vector<scalar*>& inputs, std::vector<scalar*>& out, size_t frames);
    /// Points `blockInputs` at what filter f reads.
    void gatherBlockInputs(size_t f, const std::vector<scalar*>& inputs);
    void runMethod(const std::vector<scalar*>& inputs, std::vector<scalar*>& out, size_t frames);
    void runSequential(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                       size_t frames);
    void runIterative(const std::vector<scalar*>& inputs, std::vector<scalar*>& out,
                      size_t frames);
    struct IterationChange {
        scalar relative;
        scalar absolute;
    };
    void iterateFrame(const std::vector<scalar*>& inputs, size_t frame);
    void gatherIterationInputs(size_t f, const std::vector<scalar*>& inputs, size_t frame);
    IterationChange collectIterationResults(int32 iteration);
    void runBypass(const std::vector<scalar*>& inputs, std::vector<scalar*>& out, size_t frames);
    void runOff(std::vector<scalar*>& out, size_t frames);
    /// Points output `output` at zeros.
    void runOffOutput(std::vector<scalar*>& out, size_t output, size_t frames);

    std::shared_ptr<DSPContext> context;
    /// Sequential: each filter's input pointers, wired once.
    std::vector<std::vector<scalar*>> rows;
    /// Sequential: the present sample of each graph input.
    std::vector<scalar> sampleInputs;
    /// Block: scratch input list, as long as the largest port count.
    std::vector<scalar*> blockInputs;
    /// Iterative: scratch input values.
    std::shared_ptr<std::vector<scalar>> iterationInputs;
    std::vector<scalar> results;
    std::vector<scalar> lastResults;
    /// Sequential: the graph's own output buffers.
    std::vector<std::vector<scalar>> sequentialOutputs;
    /// Zeros, as many as the largest block: every output of the graph while it is off.
    std::unique_ptr<scalar[]> silence;
    size_t silenceFrames = 0;
    bool initialized = false;
    std::vector<Wires> inputElements;
    std::vector<Wires> inputOutputs;
    /// Input port count of each filter, taken from its meta at init.
    std::vector<int32> portCounts;
    std::vector<int32> outputIndices;
    std::vector<int32> outputElements;
    std::vector<int32> order;
    scalar relativeTollerance = 0.0f;
    scalar absoluteTollerance = 0.0f;
    int32 maxIterations = 0;
    dsp_graph::ProcessingMethod processingMethod = dsp_graph::Block;
};

} // namespace nodara
