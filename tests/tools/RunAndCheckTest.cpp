#include "filterdesign/Design.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

namespace nodara::testing {
namespace {

std::string example(const std::string& name) { return sourceDirectory() + "/examples/" + name; }

std::filesystem::path writeDocument(const std::string& name, const std::string& text) {
    const auto path = scratch() / name;
    std::ofstream(path) << text;
    return path;
}

/// `torvane run DOCUMENT --in IN --out OUT` with more arguments; OUT is in the scratch folder.
ToolResult run(const std::string& document, const std::filesystem::path& in,
               const std::string& out, const std::string& more = "") {
    return torvane("run " + document + " --in " + in.string() + " --out " +
                   (scratch() / out).string() + more);
}

// Two independent chains: system input c goes through graph c, gain c + 2.
const std::string twinChains = R"(<System><Graphs>
  <Graph Name="L" Type="DSP"><Element Type="Gain" Name="g"><Properties Gain="2"/>
    <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Inputs><Input Graph="System" Node="0"/></Inputs>
    <Output><Node Name="out" Element="g" Index="0"/></Output><NumberOfInputs>1</NumberOfInputs></Graph>
  <Graph Name="R" Type="DSP"><Element Type="Gain" Name="g"><Properties Gain="3"/>
    <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
    <Inputs><Input Graph="System" Node="1"/></Inputs>
    <Output><Node Name="out" Element="g" Index="0"/></Output><NumberOfInputs>1</NumberOfInputs></Graph>
  </Graphs><Outputs><Output Graph="L" Node="out"/><Output Graph="R" Node="out"/></Outputs></System>)";

TEST(Check, ExamplesAndTheBuiltInDocumentAreAccepted) {
    const std::pair<std::string, std::string> cases[] = {
        {example("gain-chain.xml"), "ok: 1 graphs, 1 outputs, 1 controls\n"},
        {example("switch-by-control.xml"), "ok: 1 graphs, 1 outputs, 1 controls\n"},
        {example("two-graph-lookup.xml"), "ok: 2 graphs, 1 outputs, 1 controls\n"},
        {example("fir-oversampled-lookup.xml"), "ok: 3 graphs, 1 outputs, 1 controls\n"},
        {example("newton-feedback.xml"), "ok: 2 graphs, 2 outputs, 1 controls\n"},
        {"--builtin", "ok: 16 graphs, 2 outputs, 8 controls\n"},
    };
    for (const auto& [argument, out] : cases) {
        const auto result = torvane("check " + argument);
        EXPECT_EQ(result.exitCode, 0) << argument;
        EXPECT_EQ(result.out, out);
    }
}

TEST(Check, DocumentErrorsArePrintedAloneOnTheFirstLineAndUnreadableFilesExitTwo) {
    const std::pair<const char*, const char*> cases[] = {
        {"<System><Graphs><Graph Name='System' Type='DSP'/></Graphs></System>",
         "\"System\" is a reserved graph name."},
        {"", "Cannot load xml document. Error: No document element found"}};
    for (const auto& [text, message] : cases) {
        const auto result = torvane("check " + writeDocument("bad.xml", text).string());
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.firstErrorLine(), message);
        EXPECT_TRUE(result.out.empty());
    }
    const auto unreadable = torvane("check /no/such/document.xml");
    EXPECT_EQ(unreadable.exitCode, 2);
    EXPECT_NE(unreadable.err.find("/no/such/document.xml"), std::string::npos);
}

// The gain chain halves its input, then applies Level. --rate tells the driver another rate;
// the file keeps its own.
TEST(Run, GainChainMatchesAnIndependentComputation) {
    const auto in = written("tone.wav", tone(1, 1000, 44100));
    const auto result =
        run(example("gain-chain.xml"), in, "gain.wav", " --set Level=0.25 --rate 96000");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Audio input = readWav(in);
    const Audio output = readWav(scratch() / "gain.wav");
    ASSERT_EQ(output.frames(), 1000u);
    EXPECT_EQ(output.rate, 44100);
    for (size_t i = 0; i < output.frames(); ++i) {
        ASSERT_EQ(output.at(i, 0), input.at(i, 0) * 0.5f * 0.25f) << i;
    }
}

TEST(Run, BlockSizeDoesNotChangeTheOutput) {
    const auto in = written("tone-blocks.wav", tone(1, 777));
    std::vector<float> first;
    for (const std::string block : {"1", "13", "256", "1000"}) {
        const auto result = run(example("two-graph-lookup.xml"), in, "blocks.wav", " --block " + block);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const Audio output = readWav(scratch() / "blocks.wav");
        EXPECT_EQ(output.samples, first.empty() ? (first = output.samples) : first) << block;
    }
}

TEST(Run, ChannelsFeedSystemInputsAndMonoFeedsThemAll) {
    const auto document = writeDocument("twin.xml", twinChains).string();
    const Audio stereo = tone(2, 100), mono = tone(1, 100);
    ASSERT_EQ(run(document, written("stereo.wav", stereo), "twin-out.wav").exitCode, 0);
    Audio output = readWav(scratch() / "twin-out.wav");
    ASSERT_EQ(output.channels, 2);
    EXPECT_EQ(output.at(50, 0), stereo.at(50, 0) * 2.0f);
    EXPECT_EQ(output.at(50, 1), stereo.at(50, 1) * 3.0f);
    ASSERT_EQ(run(document, written("mono.wav", mono), "twin-out.wav").exitCode, 0);
    output = readWav(scratch() / "twin-out.wav");
    EXPECT_EQ(output.at(50, 1), mono.at(50, 0) * 3.0f);
}

TEST(Run, TimedSettingsApplyAtTheFirstBlockThatStartsAtOrAfterTheirTime) {
    const auto in = written("ones.wav", Audio{1, 1000, std::vector<float>(1000, 1.0f)});
    const auto result = run(example("gain-chain.xml"), in, "timed.wav", " --block 100 --set Level=2@0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Audio output = readWav(scratch() / "timed.wav");
    EXPECT_EQ(output.at(299, 0), 0.5f);
    EXPECT_EQ(output.at(300, 0), 1.0f) << "0.25 s is frame 250: the block at 300 applies it";
}

TEST(Run, FailuresExitOneAndLeaveNoOutput) {
    const auto in = written("fail-in.wav", tone(1, 10));
    const auto out = scratch() / "never.wav";
    auto result = run(example("gain-chain.xml"), in, "never.wav", " --set Volume=1");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("Volume"), std::string::npos);
    result = run(writeDocument("broken.xml", "<System/>").string(), in, "never.wav");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.firstErrorLine(), "No graphs to parse.");
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_FALSE(std::filesystem::exists(out.string() + ".partial"));
}

TEST(Usage, HelpAndMistakes) {
    EXPECT_EQ(torvane("--help").exitCode, 0);
    for (const char* command : {"check", "run", "generate", "info"}) {
        const auto help = torvane(std::string(command) + " --help");
        EXPECT_EQ(help.exitCode, 0) << command;
        EXPECT_NE(help.out.find("Usage: torvane"), std::string::npos) << command;
    }
    const std::string gainChain = "run " + example("gain-chain.xml") + " --in x.wav";
    for (const char* more : {"", " --out y.wav --block 0", " --out y.wav --set Level"}) {
        EXPECT_EQ(torvane(gainChain + more).exitCode, 2) << more;
    }
}

// A failure is one line on stderr, and a usage error one more with the hint; no output file
// is left behind.
TEST(Usage, EveryFailureIsOneLineAndLeavesNoFile) {
    const auto in = written("failing-in.wav", tone(1, 1000));
    const auto out = (scratch() / "failing-out.wav").string();
    const std::string io = " --in " + in.string() + " --out " + out;
    const std::pair<std::string, int> cases[] = {
        {"frobnicate", 2},
        {"check /no/such.xml", 2},
        {"check " + in.string(), 1},
        {"run " + example("gain-chain.xml") + io + " --block 0", 2},
        {"run " + example("gain-chain.xml") + io + " --set Volume=1", 1},
        {"amp" + io + " --rate 8000", 1},
        {"amp" + io + " --set Gain=loud", 2},
        {"render" + io + " --block 100000", 1},
        {"tables V9 --csv", 1},
        {"design --family bessel --order 2 --fc 0.5", 1},
    };
    for (const auto& [arguments, exitCode] : cases) {
        const ToolResult result = torvane(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << arguments;
        const auto lines = std::count(result.err.begin(), result.err.end(), '\n');
        EXPECT_EQ(lines, exitCode == 2 && result.err.find("Run 'torvane") != std::string::npos ? 2 : 1)
            << arguments << ": " << result.err;
        EXPECT_FALSE(std::filesystem::exists(out)) << arguments;
    }
}

// Every coefficient of the library's design, printed to the last bit of its float.
TEST(DesignCommand, PrintsTheDesignAsDocumentProperties) {
    const ToolResult result = torvane("design --family butterworth --order 2 --fc 0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::vector<float> a(2), b(3);
    ASSERT_EQ(std::sscanf(result.out.c_str(), "A=\"%g|%g\" B=\"%g|%g|%g\"\n", &a[0], &a[1], &b[0],
                          &b[1], &b[2]),
              5)
        << result.out;
    filterdesign::IirDesignContext context(filterdesign::Options::Butterworth, 2, 0.25);
    filterdesign::design(context);
    EXPECT_EQ(a, *context.getA());
    EXPECT_EQ(b, *context.getB());
}

// A design error, from the constructor's checks or from the design, is its message alone with
// exit 1; a usage error exits 2 and adds a hint line after its message.
TEST(DesignCommand, DesignErrorsPrintTheMessageAndUsageErrorsExitTwo) {
    const struct {
        const char* arguments;
        int exitCode;
        const char* firstLine;
    } cases[] = {
        {"--family butterworth --order 11 --fc 0.25", 1, "filter order out of range"},
        {"--family bessel --order 2 --fc 0.5", 1, "IirDesignContext: fc1 must be (0, 0.5)."},
        {"--family butterworth --order 2 --fc 0.2 --band bandpass --fc2 0.1", 1,
         "IirDesignContext: fc2 must be above fc1."},
        {"--family bessel --fc 0.1", 2, "torvane design: --family, --order and --fc are needed"},
    };
    for (const auto& c : cases) {
        const ToolResult result = torvane(std::string("design ") + c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_EQ(result.firstErrorLine(), c.firstLine) << c.arguments;
    }
}

} // namespace
} // namespace nodara::testing
