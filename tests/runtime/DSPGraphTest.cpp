#include "runtime/DSPGraph.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

const std::string chain = element("Gain", "A", "Gain='2'", "Graph") +
                          element("Gain", "B", "Gain='3'", "A");
// The same chain with B first in the document: a one-sample delay sits on A -> B when the
// graph runs sample by sample.
const std::string reversedChain = element("Gain", "B", "Gain='3'", "A") +
                                  element("Gain", "A", "Gain='2'", "Graph");

/// Graph properties choosing the processing method `name`, with `more` switches.
std::string method(const std::string& name, const std::string& more = "") {
    const char* limits = " RelativeTollerance='1e-6' AbsoluteTollerance='1e-6' MaxIterations='10'";
    return "<Properties " + more + "ProcessingMethod='" + name + "'" +
           (name == "Iterative" ? limits : "") + "/>";
}

std::vector<scalar> scaled(const std::vector<scalar>& signal, scalar factor, size_t delay = 0) {
    std::vector<scalar> out(signal.size(), 0.0f);
    for (size_t i = delay; i < signal.size(); ++i) {
        out[i] = signal[i - delay] * factor;
    }
    return out;
}

TEST(DSPGraph, EveryMethodRunsAnAcyclicChain) {
    const auto input = testSignal(100);
    for (const char* name : {"Block", "Sequential", "Iterative"}) {
        auto driver = driverFor(oneGraphSystem(chain, "B", method(name)), 32);
        EXPECT_EQ(runBlocks(*driver, {input}, 32)[0], scaled(input, 6.0f)) << name;
    }
}

TEST(DSPGraph, SequentialDocumentOrderDecidesWhereTheDelaySits) {
    const auto input = testSignal(50);
    auto sequential = driverFor(oneGraphSystem(reversedChain, "B", method("Sequential")), 16);
    EXPECT_EQ(runBlocks(*sequential, {input}, 16)[0], scaled(input, 6.0f, 1));
    auto block = driverFor(oneGraphSystem(reversedChain, "B", method("Block")), 16);
    EXPECT_EQ(runBlocks(*block, {input}, 16)[0], scaled(input, 6.0f)) << "Block sorts the net";
}

TEST(DSPGraph, CyclesAreRefusedByBlockAndRunSampleBySample) {
    const std::string loop = element("Gain", "A", "Gain='0.5'", "B") +
                             element("Gain", "B", "Gain='1'", "A");
    EXPECT_EQ(initError(oneGraphSystem(loop, "B", method("Block"))), "Filters do not form a DAG.");
    auto driver = driverFor(oneGraphSystem(loop, "B", method("Sequential")), 8);
    EXPECT_EQ(runBlocks(*driver, {testSignal(8)}, 8)[0], std::vector<scalar>(8, 0.0f));
}

TEST(DSPGraph, UnwiredInputsReadAsSilence) {
    const std::string unwired = element("Gain", "A", "Gain='2'", "");
    for (const char* name : {"Block", "Iterative"}) {
        auto driver = driverFor(oneGraphSystem(unwired, "A", method(name)), 8);
        EXPECT_EQ(runBlocks(*driver, {testSignal(8)}, 8)[0], std::vector<scalar>(8, 0.0f)) << name;
    }
}

TEST(DSPGraph, OffGivesSilenceAndBypassHandsTheInputOn) {
    const auto input = testSignal(40);
    for (const char* name : {"Block", "Sequential", "Iterative"}) {
        auto off = driverFor(oneGraphSystem(chain, "B", method(name, "Off='true' ")), 16);
        EXPECT_EQ(runBlocks(*off, {input}, 16)[0], std::vector<scalar>(40, 0.0f)) << name;
        const auto both = method(name, "Off='true' Bypass='true' ");
        auto bypassed = driverFor(oneGraphSystem(chain, "B", both), 16);
        EXPECT_EQ(runBlocks(*bypassed, {input}, 16)[0], input) << name << ": bypass wins over off";
    }
}

TEST(DSPGraph, BypassNeedsAsManyInputsAsOutputs) {
    const std::string document =
        "<System><Graphs><Graph Name='G' Type='DSP'><Properties Bypass='true'/>" + chain +
        "<Inputs><Input Graph='System' Node='0'/></Inputs><Output>"
        "<Node Name='a' Element='A' Index='0'/><Node Name='b' Element='B' Index='0'/>"
        "</Output><NumberOfInputs>1</NumberOfInputs></Graph></Graphs>"
        "<Outputs><Output Graph='G' Node='b'/></Outputs></System>";
    auto driver = driverFor(document, 8);
    for (int block = 0; block < 2; ++block) {
        EXPECT_EQ(messageOf([&] { runBlocks(*driver, {testSignal(8)}, 8); }),
                  "DSPGraph: Cannot bypass a graph that does not have the same number of inputs "
                  "and outputs. Graph name: G");
    }
}

TEST(DSPGraph, BlocksUpToTheMaximumPass) {
    auto driver = driverFor(oneGraphSystem(chain, "B"), 16);
    auto& graph = *driver->getGraph("G");
    std::vector<scalar> input(17, 1.0f);
    std::vector<scalar*> inputs = {input.data()};
    EXPECT_NO_THROW(graph.process(inputs, 16));
    EXPECT_EQ(messageOf([&] { graph.process(inputs, 17); }),
              "maxBlockSize is less than input size. DSPGraph name: G maxBlockSize: 16 input size:17");
}

// Each step sets one switch and tells whether the graph is then bypassed: suffixes name bits
// that hold independently, three-part names use bit 0, and Off means more than one half.
// Suspending a rate-changing graph is refused on the audio thread (see the driver's tests).
TEST(GraphSwitches, SuffixedBitsHoldIndependentlyAndHalfIsNotOff) {
    const std::vector<std::tuple<const char*, scalar, bool>> steps = {
        {"Bypass_3", 1.0f, true},   {"Bypass", 0.0f, true}, {"Bypass_3", 0.0f, false},
        {"Bypass_1_2", 1.0f, true}, {"Bypass", 0.0f, false},
    };
    DSPGraph graph;
    for (const auto& [name, value, bypassed] : steps) {
        graph.setProperty(name, value);
        EXPECT_EQ(graph.isBypassed(), bypassed) << name << " = " << value;
    }
    graph.setProperty("Off", 0.5f);
    EXPECT_FALSE(graph.isOff());
    graph.setProperty("Off", 0.51f);
    EXPECT_TRUE(graph.isOff());
    graph.setProperty("Suspend", 1.0f);
    EXPECT_TRUE(graph.isSuspended());
}

TEST(GraphSwitches, SwitchedGraphsPassTheirInputRateOn) {
    DSPGraph graph;
    graph.setMultiplier(2.0);
    graph.setInputMultiplier(0.5);
    EXPECT_DOUBLE_EQ(graph.getOutputMultiplier(), 1.0);
    graph.setBypass(true, 0);
    EXPECT_DOUBLE_EQ(graph.getOutputMultiplier(), 0.5);
    graph.setBypass(false, 0);
    graph.setOff(true, 2);
    EXPECT_DOUBLE_EQ(graph.getOutputMultiplier(), 0.5);
}

TEST(GraphSwitches, UnknownNamesAndABlockSizeOfZeroGiveTheirMessages) {
    DSPGraph graph;
    for (const char* name : {"Mute", "", "_", "off"}) {
        EXPECT_EQ(messageOf([&] { graph.setProperty(name, 1.0f); }),
                  std::string("Graph: Unknown property ") + name);
    }
    // A graph at a quarter of the host's rate gets no frame of a one-frame block.
    EXPECT_EQ(messageOf([&] { graph.setMaxBlockSize(0); }), "DSPGraph: Invalid maxBlockSize0");
}

} // namespace
} // namespace nodara::testing
