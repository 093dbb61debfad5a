#include "filterdesign/Design.h"
#include "support/TestPlugins.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace nodara::testing {
namespace {

TEST(Check, EveryExampleAndTheBuiltInDocumentAreAccepted) {
    for (const auto& entry : std::filesystem::directory_iterator(example(""))) {
        if (entry.path().extension() == ".xml") {
            const auto result = torvane("check " + entry.path().string());
            EXPECT_EQ(result.exitCode, 0) << entry.path() << ": " << result.err;
            EXPECT_EQ(result.out.rfind("ok: ", 0), 0u) << entry.path();
        }
    }
    EXPECT_EQ(torvane("check --builtin").out, "ok: 16 graphs, 2 outputs, 8 controls\n");
}

// The gain chain halves its input, then applies Level: 0.25 from the start, 2 from the first
// block that starts at or after 0.25 s (frame 250 of this 1000 Hz file: the block at 300).
// --rate tells the driver another rate; the file and the times keep the file's own.
TEST(Run, GainChainWithTimedSettingsMatchesAnIndependentComputation) {
    const auto in = written("tone.wav", tone(1, 1000, 1000));
    const auto result = inOut("run " + example("gain-chain.xml"), in, scratch() / "gain.wav",
                              " --block 100 --rate 96000 --set Level=0.25 --set Level=2@0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Audio input = readWav(in), output = readWav(scratch() / "gain.wav");
    ASSERT_EQ(output.frames(), 1000u);
    EXPECT_EQ(output.rate, 1000);
    for (size_t i = 0; i < output.frames(); ++i) {
        ASSERT_EQ(output.at(i, 0), input.at(i, 0) * 0.5f * (i < 300 ? 0.25f : 2.0f)) << i;
    }
}

/// Graph `name` multiplies system input `input` by `gain`.
std::string chain(const std::string& name, const std::string& input, const std::string& gain) {
    return "<Graph Name='" + name + "' Type='DSP'><Element Type='Gain' Name='g'><Properties "
           "Gain='" + gain + "'/><Inputs><Input Port='in' Element='Graph' Output='0'/></Inputs>"
           "</Element><Inputs><Input Graph='System' Node='" + input + "'/></Inputs><Output>"
           "<Node Name='out' Element='g' Index='0'/></Output><NumberOfInputs>1</NumberOfInputs>"
           "</Graph>";
}

TEST(Run, ChannelsFeedSystemInputsAndMonoFeedsThemAll) {
    const std::string run = "run " + writtenText("twin.xml", "<System><Graphs>" +
                                                     chain("L", "0", "2") + chain("R", "1", "3") +
                                                     "</Graphs><Outputs><Output Graph='L' "
                                                     "Node='out'/><Output Graph='R' Node='out'/>"
                                                     "</Outputs></System>").string();
    const auto out = scratch() / "twin-out.wav";
    const Audio stereo = tone(2, 100), mono = tone(1, 100);
    ASSERT_EQ(inOut(run, written("stereo.wav", stereo), out).exitCode, 0);
    Audio output = readWav(out);
    ASSERT_EQ(output.channels, 2);
    EXPECT_EQ(output.at(50, 0), stereo.at(50, 0) * 2.0f);
    EXPECT_EQ(output.at(50, 1), stereo.at(50, 1) * 3.0f);
    ASSERT_EQ(inOut(run, written("mono.wav", mono), out).exitCode, 0);
    output = readWav(out);
    EXPECT_EQ(output.at(50, 1), mono.at(50, 0) * 3.0f);
}

TEST(Usage, EveryCommandHasHelp) {
    EXPECT_EQ(torvane("--help").exitCode, 0);
    for (const char* command : {"check", "run", "amp", "render", "design", "generate", "info"}) {
        const auto help = torvane(std::string(command) + " --help");
        EXPECT_EQ(help.exitCode, 0) << command;
        EXPECT_EQ(help.out.rfind("Usage: torvane " + std::string(command), 0), 0u) << command;
    }
}

// Exit 1 for a fault in what the tool was given, 2 for a usage mistake or an unreadable file.
// The message starts the first line of stderr; a usage mistake adds one hint line. No output
// file is left behind, not even a partial one.
TEST(Usage, EveryFailureIsItsMessageAloneAndLeavesNoFile) {
    const std::string in = written("failing-in.wav", tone(1, 1000)).string();
    const std::string low =
        written("low-rate.wav", Audio{1, 8000, std::vector<float>(800)}).string();
    const auto out = scratch() / "failing-out.wav";
    const std::string io = " --in " + in + " --out " + out.string();
    const std::string gainChain = "run " + example("gain-chain.xml") + io;
    const std::string gain = testPlugin("test_gain_plugin");
    const std::string throws = testPlugin("test_plugin_throws");
    const std::string torvanePlugin = "torvane render: plug-in " + buildDirectory() +
                                      "/Torvane.so: Torvane: dispatcher failed: "
                                      "TorvaneVST2Effect: ";
    const std::string rates =
        "the amplifier runs at sample rates above 20000 Hz and up to 768000 Hz, not ";
    const struct {
        std::string arguments;
        int exitCode;
        std::string message;
    } cases[] = {
        {"frobnicate", 2, "torvane: unknown command \"frobnicate\""},
        {"check " + writtenText("empty.xml", "").string(), 1,
         "Cannot load xml document. Error: No document element found"},
        {"check /no/such.xml", 2, "torvane check: cannot read document /no/such.xml: no such file"},
        {"run " + writtenText("broken.xml", "<System/>").string() + io, 1, "No graphs to parse."},
        {gainChain + " --set Volume=1", 1,
         "torvane run: unknown control \"Volume\"; the document's controls are: Level"},
        {"run " + example("gain-chain.xml") + " --in " + in, 2,
         "torvane run: both --in IN.wav and --out OUT.wav are needed"},
        {gainChain + " --block 0", 2,
         "torvane run: --block must be a whole number from 1 to 16777216, not \"0\""},
        {gainChain + " --set Level", 2,
         "torvane run: --set expects NAME=VALUE or NAME=VALUE@SECONDS, not \"Level\""},
        {"op " + example("gain-chain.xml") + " extra", 2, "torvane op: unexpected argument: extra"},
        {"amp" + io + " --rate 20000", 1, "torvane amp: " + rates + "20000 Hz"},
        {"amp" + io + " --set Gain=loud", 2,
         "torvane amp: the value in --set Gain=loud must be a number, not \"loud\""},
        {"amp" + io + " --set Volume=1", 1,
         "torvane amp: unknown control \"Volume\"; the document's controls are: Gain, Feedback, "
         "Vol, Oversampling, Cabinet, CPU, Input, Stereo"},
        {"amp --in /no/such.wav --out " + out.string(), 2,
         "torvane amp: cannot read audio file /no/such.wav: "},
        {"render --in " + low + " --out " + out.string(), 1, torvanePlugin + rates + "8000 Hz"},
        {"render" + io + " --block 100000", 1,
         torvanePlugin + "blocks go from 1 to 65536 frames, not 100000"},
        {"render" + io + " --plugin " + gain + " --set Gain=1", 1,
         "torvane render: plug-in " + gain + ": no parameter \"Gain\"; its parameters are "
         "\"Level\", \"Oversamp\" (or an index from 0 to 1)"},
        {"render" + io + " --plugin " + throws + " --block 100", 1,
         "torvane render: plug-in " + throws +
             ": processReplacing failed: the test effect fails on its third block"},
        {"render --in " + in, 2, "torvane render: --out OUT.wav is needed"},
        {"render" + io + " --set Level=2", 2,
         "torvane render: parameter values go from 0 to 1: --set Level=2"},
        {"render" + io + " --rate -1", 2, "torvane render: --rate must be above 0"},
        {"render --out " + out.string() + " --rate 4000", 2,
         "torvane render: the demo riff is made at 8000 to 384000 Hz; --rate 4000 is outside"},
        {"tables V9 --csv", 1, "Unknown embedded table: V9"},
        {"design --family bessel --order 2 --fc 0.5", 1, "IirDesignContext: fc1 must be (0, 0.5)."},
        {"design --family butterworth --order 11 --fc 0.25", 1, "filter order out of range"},
        {"design --family bessel --fc 0.1", 2,
         "torvane design: --family, --order and --fc are needed"},
    };
    for (const auto& c : cases) {
        const ToolResult result = torvane(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_EQ(result.firstErrorLine().rfind(c.message, 0), 0u) << c.arguments << ": "
                                                                    << result.err;
        const bool hint = c.exitCode == 2 && result.err.find("\nRun 'torvane") != result.err.npos;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1 + hint) << result.err;
        EXPECT_FALSE(std::filesystem::exists(out)) << c.arguments;
        EXPECT_FALSE(std::filesystem::exists(out.string() + ".partial")) << c.arguments;
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

} // namespace
} // namespace nodara::testing
