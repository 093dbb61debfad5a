#include "support/TestPlugins.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

const std::string gain = " --plugin " + testPlugin("test_gain_plugin");

/// Runs `torvane render --in IN --out OUT` with more arguments; OUT is in the scratch folder.
ToolResult render(const std::filesystem::path& in, const std::string& out,
                  const std::string& more) {
    return torvane("render --in " + in.string() + " --out " + (scratch() / out).string() + more);
}

// Blocks of 256 and 7 frames do not divide the files; --rate tells the effect another rate
// and the file keeps its own.
TEST(Render, MonoAndStereoFilesKeepTheirChannelsThroughTheEffect) {
    const Audio mono = tone(1, 1000), stereo = tone(2, 1000, 44100);
    auto result = render(written("mono.wav", mono), "mono-out.wav", gain + " --set Level=0.5");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "rendered " + (scratch() / "mono.wav").string() +
                              ": 1000 frames (0.02 s, mono) through Test gain to " +
                              (scratch() / "mono-out.wav").string() + "\n");
    EXPECT_EQ(result.err, "");
    result = render(written("stereo.wav", stereo), "stereo-out.wav",
                    gain + " --set Level=0.25 --rate 96000 --block 7");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const auto& [name, input, level] : {std::tuple{"mono-out.wav", mono, 0.5f},
                                             std::tuple{"stereo-out.wav", stereo, 0.25f}}) {
        const Audio output = readWav(scratch() / name);
        ASSERT_EQ(output.channels, input.channels);
        EXPECT_EQ(output.rate, input.rate);
        ASSERT_EQ(output.samples.size(), input.samples.size());
        for (size_t i = 0; i < output.samples.size(); ++i) {
            ASSERT_EQ(output.samples[i], input.samples[i] * level) << name << " " << i;
        }
    }
}

TEST(Render, WithoutAnInputItRendersTenSecondsOfTheDemoRiff) {
    const auto out = scratch() / "demo-out.wav";
    auto result = torvane("render --out " + out.string() + gain);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "") << "no progress bar when stderr is not a terminal";
    EXPECT_EQ(result.out, "rendered the demo riff: 480000 frames (10.00 s, mono) through Test "
                          "gain to " + out.string() + "\n");
    EXPECT_EQ(readWav(out).rate, 48000);
    result = torvane("render --out " + out.string() + gain + " --rate 44100");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(readWav(out).rate, 44100);
    EXPECT_EQ(readWav(out).frames(), 441000u);
    EXPECT_EQ(torvane("render --out " + out.string() + gain + " --rate 4000").exitCode, 2);
}

TEST(Render, TheDefaultPluginIsTorvaneBesideTheProgram) {
    const auto out = scratch() / "default-out.wav";
    const auto result = torvane("render --out " + out.string());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(readWav(out).frames(), 480000u);
}

// An effect that cannot be loaded, an unknown parameter, and an effect failing mid-way.
TEST(Render, FailuresExitOneNameTheCauseAndLeaveNoOutput) {
    const auto in = written("fail-in.wav", tone(1, 2000));
    const std::pair<std::string, std::string> cases[] = {
        {" --plugin /no/such/effect.so",
         "torvane render: plug-in /no/such/effect.so: no such file"},
        {gain + " --set Gain=1", "no parameter \"Gain\"; its parameters are \"Level\", "
                                 "\"Oversamp\" (or an index from 0 to 1)"},
        {" --plugin " + testPlugin("test_plugin_throws") + " --block 100",
         "processReplacing failed: the test effect fails on its third block"},
    };
    const auto out = scratch() / "never.wav";
    for (const auto& [arguments, message] : cases) {
        const auto result = render(in, "never.wav", arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments;
        EXPECT_NE(result.firstErrorLine().find(message), std::string::npos) << result.err;
        EXPECT_FALSE(std::filesystem::exists(out)) << arguments;
        EXPECT_FALSE(std::filesystem::exists(out.string() + ".partial")) << arguments;
    }
}

// Hosts have no answer to a refused rate but the effect's report: the render fails with it.
TEST(Render, ARateTheEffectRefusesFailsWithTheEffectsReasonAlone) {
    const auto out = scratch() / "refused.wav";
    const auto result = render(written("low-rate.wav", Audio{1, 8000, std::vector<float>(800)}),
                               "refused.wav", "");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find("the amplifier runs at sample rates above 20000 Hz and up to "
                              "768000 Hz, not 8000 Hz"),
              std::string::npos)
        << result.err;
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(Render, UsageMistakesExitTwo) {
    const auto in = written("usage-in.wav", tone(1, 10));
    EXPECT_EQ(torvane("render --help").exitCode, 0);
    EXPECT_EQ(torvane("render --in " + in.string() + gain).exitCode, 2) << "no --out";
    for (const char* more :
         {" --block 0", " --set Level=2", " --set Level", " --rate -1", " extra"}) {
        EXPECT_EQ(render(in, "usage-out.wav", gain + more).exitCode, 2) << more;
    }
    EXPECT_FALSE(std::filesystem::exists(scratch() / "usage-out.wav"));
}

/// `torvane COMMAND --in IN --out OUT` with more arguments.
ToolResult inOut(const std::string& command, const std::filesystem::path& in,
                 const std::filesystem::path& out, const std::string& more = "") {
    return torvane(command + " --in " + in.string() + " --out " + out.string() + more);
}

TEST(AmpCommand, AMonoFileGivesAMonoFileOfTheSameLength) {
    const auto out = scratch() / "amp-mono-out.wav";
    ASSERT_EQ(inOut("amp", written("amp-mono.wav", tone(1, 24000)), out).exitCode, 0);
    EXPECT_EQ(readWav(out).channels, 1);
    EXPECT_EQ(readWav(out).frames(), 24000u);
}

// Stereo, both qualities and a timed change of the oversampling: the host adds nothing and
// loses nothing.
TEST(AmpCommand, MatchesTheSameSettingsRenderedThroughThePlugIn) {
    const auto input = written("amp-vs-plugin.wav", tone(2, 20000));
    const auto direct = scratch() / "direct.wav", hosted = scratch() / "hosted.wav";
    const std::string settings = " --set CPU=1 --set Stereo=1 --set Oversampling=1@0.2";
    ASSERT_EQ(inOut("amp", input, direct, " --set Gain=0.8" + settings).exitCode, 0);
    const auto render = inOut("render", input, hosted, " --set Volume=0.8" + settings);
    ASSERT_EQ(render.exitCode, 0) << render.err;
    ASSERT_EQ(readWav(direct).samples.size(), readWav(hosted).samples.size());
    EXPECT_EQ(readWav(direct).samples, readWav(hosted).samples);
}

TEST(AmpCommand, TablesAreListedAndPrinted) {
    const auto list = torvane("tables");
    EXPECT_EQ(list.exitCode, 0);
    for (const char* name : {"V1", "V2.lowCPU", "V2.full", "V3.lowCPU", "V3.full", "grid.V2V3",
                             "grid.VolumeControl", "u87"}) {
        EXPECT_NE(list.out.find(name), std::string::npos) << name;
    }
    const auto v1 = torvane("tables V1 --csv");
    ASSERT_EQ(v1.exitCode, 0);
    EXPECT_EQ(std::count(v1.out.begin(), v1.out.end(), '\n'), 1601);
    EXPECT_EQ(v1.out.substr(0, v1.out.find(',')), "-8");
    EXPECT_NE(v1.out.find("\n0,176."), std::string::npos) << "the quiescent point at 0 V";
    EXPECT_EQ(torvane("tables V9 --csv").firstErrorLine(), "Unknown embedded table: V9");
}

TEST(AmpCommand, UnknownControlsAndBadFilesFailCleanly) {
    const auto input = written("amp-small.wav", tone(1, 100));
    const auto out = scratch() / "amp-never.wav";
    const auto result = inOut("amp", input, out, " --set Volume=1");
    EXPECT_EQ(result.exitCode, 1) << "the amplifier's controls go by their document names";
    EXPECT_NE(result.err.find("Gain"), std::string::npos) << "it lists the names";
    EXPECT_EQ(torvane("amp --in /no/such.wav --out " + out.string()).exitCode, 2);
    // Its oversampling filters cannot be designed at or below 20 kHz: silence, were it allowed.
    EXPECT_EQ(inOut("amp", input, out, " --rate 20000").firstErrorLine(),
              "torvane amp: the amplifier runs at sample rates above 20000 Hz and up to 768000 Hz, "
              "not 20000 Hz");
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
} // namespace nodara::testing
