// Circuit documents through the tool: the operating point, and the examples in any blocks.
#include "support/Tool.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

TEST(OpCommand, PrintsEachNodeAndSourceCurrentAligned) {
    const auto path = writtenText("divider.xml", R"(<System><Graphs><Graph Name='Bias' Type='MNA'>
<Element Type='Battery' Name='B'><Properties Voltage='10'/><Node Name='top'/><Node Name='0'/></Element>
<Element Type='Resistor' Name='R1'><Properties Resistance='1000'/><Node Name='top'/><Node Name='mid'/></Element>
<Element Type='Resistor' Name='R2'><Properties Resistance='3000'/><Node Name='mid'/><Node Name='0'/></Element>
<Analysis Type='DC'><Solver Type='Linear'/></Analysis></Graph></Graphs></System>)");
    const auto result = torvane("op " + path.string());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Circuit Bias\n"
                          "  top               10 V\n"
                          "  mid              7.5 V\n"
                          "  I(B)         -0.0025 A\n");
}

// Each example runs, alone or between oversampling graphs, and gives the same samples in
// blocks of one, of 256 (the last one short) and in one block longer than the file.
TEST(Examples, RunAlikeAtEveryBlockSize) {
    const auto in = written("example-tone.wav", tone(1, 2000));
    for (const char* name : {"rc-lowpass.xml", "potentiometer-divider.xml", "opamp-inverting.xml",
                             "oversampled-circuit.xml", "two-graph-lookup.xml", "triode-stage.xml",
                             "three-stage-preamp.xml", "pentode-power-stage.xml"}) {
        SCOPED_TRACE(name);
        std::vector<float> first;
        size_t frames = 0;
        for (const char* block : {"", " --block 1", " --block 5000"}) {
            const auto out = scratch() / "example-out.wav";
            const auto result = torvane("run " + example(name) + " --in " + in.string() +
                                        " --out " + out.string() + block);
            ASSERT_EQ(result.exitCode, 0) << result.err;
            const auto audio = readWav(out);
            frames = audio.frames();
            EXPECT_EQ(audio.samples, first.empty() ? (first = audio.samples) : first) << block;
        }
        EXPECT_EQ(frames, 2000u);
    }
}

} // namespace
} // namespace nodara::testing
