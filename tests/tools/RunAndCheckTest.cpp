#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

std::string example(const std::string& name) { return sourceDirectory() + "/examples/" + name; }

std::filesystem::path writeDocument(const std::string& name, const std::string& text) {
    const auto path = scratch() / name;
    std::ofstream(path) << text;
    return path;
}

Audio tone(int channels, size_t frames, int rate = 48000) {
    Audio audio{channels, rate, {}};
    for (size_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            audio.samples.push_back(0.4f * std::sin(0.01f * static_cast<float>(i) * (c + 1)));
        }
    }
    return audio;
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

TEST(Check, ExamplesAreAccepted) {
    EXPECT_EQ(torvane("check " + example("gain-chain.xml")).out, "ok: 1 graphs, 1 outputs, 1 controls\n");
    EXPECT_EQ(torvane("check " + example("two-graph-lookup.xml")).out,
              "ok: 2 graphs, 1 outputs, 1 controls\n");
    const auto result = torvane("check " + example("switch-by-control.xml"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "ok: 1 graphs, 1 outputs, 1 controls\n");
}

TEST(Check, DocumentErrorsArePrintedAloneOnTheFirstLine) {
    const auto path = writeDocument("bad.xml", "<System><Graphs><Graph Name=\"System\" Type=\"DSP\"/>"
                                               "</Graphs></System>");
    const auto result = torvane("check " + path.string());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.firstErrorLine(), "\"System\" is a reserved graph name.");
    EXPECT_TRUE(result.out.empty());
}

TEST(Check, UnreadableFilesExitTwoNamingTheFile) {
    const auto result = torvane("check /no/such/document.xml");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("/no/such/document.xml"), std::string::npos);
}

TEST(Run, GainChainMatchesAnIndependentComputation) {
    const auto in = scratch() / "tone.wav";
    writeWav(in, tone(1, 1000));
    const auto out = scratch() / "gain.wav";
    const auto result = torvane("run " + example("gain-chain.xml") + " --in " + in.string() +
                                " --out " + out.string() + " --set Level=0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Audio input = readWav(in);
    const Audio output = readWav(out);
    ASSERT_EQ(output.frames(), 1000u);
    EXPECT_EQ(output.rate, 48000);
    for (size_t i = 0; i < output.frames(); ++i) {
        ASSERT_EQ(output.at(i, 0), input.at(i, 0) * 0.5f * 0.25f) << i;
    }
}

TEST(Run, BlockSizeDoesNotChangeTheOutput) {
    const auto in = scratch() / "tone-blocks.wav";
    writeWav(in, tone(1, 777));
    std::vector<Audio> outputs;
    for (const char* block : {"1", "13", "256", "1000"}) {
        const auto out = scratch() / (std::string("blocks-") + block + ".wav");
        ASSERT_EQ(torvane("run " + example("two-graph-lookup.xml") + " --in " + in.string() +
                          " --out " + out.string() + " --block " + block)
                      .exitCode,
                  0);
        outputs.push_back(readWav(out));
    }
    for (const auto& output : outputs) {
        EXPECT_EQ(output.samples, outputs[0].samples);
    }
}

TEST(Run, ChannelsFeedSystemInputsAndMonoFeedsThemAll) {
    const auto document = writeDocument("twin.xml", twinChains);
    const auto stereo = scratch() / "stereo.wav";
    writeWav(stereo, tone(2, 100));
    const auto out = scratch() / "twin-out.wav";
    ASSERT_EQ(torvane("run " + document.string() + " --in " + stereo.string() + " --out " +
                      out.string()).exitCode, 0);
    Audio input = readWav(stereo), output = readWav(out);
    ASSERT_EQ(output.channels, 2);
    EXPECT_EQ(output.at(50, 0), input.at(50, 0) * 2.0f);
    EXPECT_EQ(output.at(50, 1), input.at(50, 1) * 3.0f);

    const auto mono = scratch() / "mono.wav";
    writeWav(mono, tone(1, 100));
    ASSERT_EQ(torvane("run " + document.string() + " --in " + mono.string() + " --out " +
                      out.string()).exitCode, 0);
    input = readWav(mono);
    output = readWav(out);
    EXPECT_EQ(output.at(50, 1), input.at(50, 0) * 3.0f);
}

TEST(Run, TimedSettingsApplyAtTheFirstBlockThatStartsAtOrAfterTheirTime) {
    const auto in = scratch() / "ones.wav";
    writeWav(in, Audio{1, 1000, std::vector<float>(1000, 1.0f)});
    const auto out = scratch() / "timed.wav";
    ASSERT_EQ(torvane("run " + example("gain-chain.xml") + " --in " + in.string() + " --out " +
                      out.string() + " --block 100 --set Level=2@0.25")
                  .exitCode,
              0);
    const Audio output = readWav(out);
    EXPECT_EQ(output.at(299, 0), 0.5f);
    EXPECT_EQ(output.at(300, 0), 1.0f) << "0.25 s is frame 250: the block at 300 applies it";
}

TEST(Run, FailuresExitOneAndLeaveNoOutput) {
    const auto in = scratch() / "fail-in.wav";
    writeWav(in, tone(1, 10));
    const auto out = scratch() / "never.wav";
    auto result = torvane("run " + example("gain-chain.xml") + " --in " + in.string() + " --out " +
                          out.string() + " --set Volume=1");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("Volume"), std::string::npos);
    const auto broken = writeDocument("broken.xml", "<System><Graphs/></System>");
    result = torvane("run " + broken.string() + " --in " + in.string() + " --out " + out.string());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.firstErrorLine(), "No graphs to parse.");
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_FALSE(std::filesystem::exists(out.string() + ".partial"));
}

TEST(Run, RateOptionTellsTheDriverWithoutResampling) {
    const auto in = scratch() / "rate-in.wav";
    writeWav(in, tone(1, 480, 44100));
    const auto out = scratch() / "rate-out.wav";
    ASSERT_EQ(torvane("run " + example("gain-chain.xml") + " --in " + in.string() + " --out " +
                      out.string() + " --rate 96000").exitCode, 0);
    const Audio output = readWav(out);
    EXPECT_EQ(output.rate, 44100);
    EXPECT_EQ(output.frames(), 480u);
}

TEST(Usage, HelpAndMistakes) {
    EXPECT_EQ(torvane("--help").exitCode, 0);
    for (const char* command : {"check", "run", "generate", "info"}) {
        const auto help = torvane(std::string(command) + " --help");
        EXPECT_EQ(help.exitCode, 0) << command;
        EXPECT_NE(help.out.find("Usage: torvane"), std::string::npos) << command;
    }
    EXPECT_EQ(torvane("frobnicate").exitCode, 2);
    EXPECT_EQ(torvane("run " + example("gain-chain.xml") + " --in x.wav").exitCode, 2);
    EXPECT_EQ(torvane("run " + example("gain-chain.xml") + " --in x.wav --out y.wav --block 0").exitCode, 2);
    EXPECT_EQ(torvane("run " + example("gain-chain.xml") + " --in x.wav --out y.wav --set Level").exitCode, 2);
}

} // namespace
} // namespace nodara::testing
