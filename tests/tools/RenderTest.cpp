#include "support/TestPlugins.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace nodara::testing
