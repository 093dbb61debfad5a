#include "runtime/DSPGraph.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

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

TEST(GraphSwitches, UnknownNamesAndBaseOperationsGiveTheirMessages) {
    DSPGraph graph;
    for (const char* name : {"Mute", "", "_", "off"}) {
        EXPECT_EQ(messageOf([&] { graph.setProperty(name, 1.0f); }),
                  std::string("Graph: Unknown property ") + name);
    }
    EXPECT_NO_THROW(graph.setNumberOfInputs(0));
    EXPECT_EQ(messageOf([&] { graph.getOutput(0); }),
              "Graph: invalid output index: 0 Number of outputs: 0");
    EXPECT_EQ(messageOf([&] { graph.getResult("x"); }),
              "Graph::getResult(std::string outputName) is not yet implemented.");
    EXPECT_EQ(messageOf([&] { graph.init(); }), "Context not set for DSPGraph ");
    EXPECT_EQ(messageOf([&] { graph.setMaxBlockSize(0); }), "DSPGraph: Invalid maxBlockSize0");
}

} // namespace
} // namespace nodara::testing
