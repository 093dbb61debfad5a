// Circuit documents through the tool: the operating point, and the circuit examples.
#include "support/Tool.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

std::string example(const std::string& name) { return sourceDirectory() + "/examples/" + name; }

TEST(OpCommand, PrintsEachNodeAndSourceCurrentAligned) {
    const auto path = scratch() / "divider.xml";
    std::ofstream(path) << R"(<System><Graphs><Graph Name='Bias' Type='MNA'>
<Element Type='Battery' Name='B'><Properties Voltage='10'/><Node Name='top'/><Node Name='0'/></Element>
<Element Type='Resistor' Name='R1'><Properties Resistance='1000'/><Node Name='top'/><Node Name='mid'/></Element>
<Element Type='Resistor' Name='R2'><Properties Resistance='3000'/><Node Name='mid'/><Node Name='0'/></Element>
<Analysis Type='DC'><Solver Type='Linear'/></Analysis></Graph></Graphs></System>)";
    const auto result = torvane("op " + path.string());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Circuit Bias\n"
                          "  top               10 V\n"
                          "  mid              7.5 V\n"
                          "  I(B)         -0.0025 A\n");
    const auto bad = torvane("op " + example("gain-chain.xml") + " extra");
    EXPECT_EQ(bad.exitCode, 2);
}

// Each example runs, alone or between oversampling graphs, and gives the same samples in
// blocks of one and of 256.
TEST(CircuitExamples, RunAtEveryBlockSize) {
    const auto in = written("circuit-tone.wav", tone(1, 2000));
    for (const char* name : {"rc-lowpass.xml", "potentiometer-divider.xml",
                             "opamp-inverting.xml", "oversampled-circuit.xml"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(torvane("check " + example(name)).exitCode, 0);
        std::vector<float> outputs[2];
        for (int i = 0; i < 2; ++i) {
            const auto out = scratch() / "circuit-out.wav";
            const auto result = torvane("run " + example(name) + " --in " + in.string() +
                                        " --out " + out.string() + (i ? " --block 1" : ""));
            ASSERT_EQ(result.exitCode, 0) << result.err;
            outputs[i] = readWav(out).samples;
        }
        EXPECT_EQ(outputs[0].size(), 2000u);
        EXPECT_EQ(outputs[0], outputs[1]);
    }
}

} // namespace
} // namespace nodara::testing
