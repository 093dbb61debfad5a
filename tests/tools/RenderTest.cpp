#include "support/TestPlugins.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

const std::string gain = " --plugin " + testPlugin("test_gain_plugin");

/// Distinct, exactly representable values in each channel.
Audio steps(int channels, size_t frames, int rate = 48000) {
    Audio audio{channels, rate, {}};
    for (size_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            audio.samples.push_back(static_cast<float>(int(i % 97) - 48) / 64.0f *
                                    (c == 0 ? 1.0f : -0.5f));
        }
    }
    return audio;
}

std::filesystem::path written(const std::string& name, const Audio& audio) {
    const auto path = scratch() / name;
    writeWav(path, audio);
    return path;
}

/// Runs `torvane render --in IN --out OUT` with more arguments; OUT is in the scratch folder.
ToolResult render(const std::filesystem::path& in, const std::string& out,
                  const std::string& more) {
    return torvane("render --in " + in.string() + " --out " + (scratch() / out).string() + more);
}

void expectScaled(const Audio& output, const Audio& input, float gainFactor) {
    ASSERT_EQ(output.channels, input.channels);
    ASSERT_EQ(output.frames(), input.frames());
    EXPECT_EQ(output.rate, input.rate);
    for (size_t i = 0; i < output.samples.size(); ++i) {
        ASSERT_EQ(output.samples[i], input.samples[i] * gainFactor) << i;
    }
}

TEST(Render, MonoAndStereoFilesKeepTheirChannelsThroughTheEffect) {
    const Audio mono = steps(1, 1000);
    auto result = render(written("mono.wav", mono), "mono-out.wav", gain + " --set Level=0.5");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    expectScaled(readWav(scratch() / "mono-out.wav"), mono, 0.5f);
    EXPECT_EQ(result.out, "rendered " + (scratch() / "mono.wav").string() +
                              ": 1000 frames (0.02 s, mono) through Test gain to " +
                              (scratch() / "mono-out.wav").string() + "\n");
    EXPECT_EQ(result.err, "");

    // --rate tells the effect another rate; the file keeps its own.
    const Audio stereo = steps(2, 1000, 44100);
    result = render(written("stereo.wav", stereo), "stereo-out.wav",
                    gain + " --set Level=0.25 --rate 96000");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    expectScaled(readWav(scratch() / "stereo-out.wav"), stereo, 0.25f);
}

TEST(Render, ParameterNamesMatchExactlyByTheirFirstEightLettersOrByIndex) {
    const Audio input = steps(1, 100);
    const auto in = written("names.wav", input);
    for (const char* setting : {"Level=0.25", "level=0.25", "LEVEL=0.25", "0=0.25"}) {
        const auto result = render(in, "names-out.wav", gain + " --set " + setting);
        ASSERT_EQ(result.exitCode, 0) << setting << ": " << result.err;
        expectScaled(readWav(scratch() / "names-out.wav"), input, 0.25f);
    }
    for (const char* setting : {"Oversampling=1", "oversampling=1", "Oversamp=1", "1=1"}) {
        EXPECT_EQ(render(in, "names-out.wav", gain + " --set " + setting).exitCode, 0) << setting;
    }
}

TEST(Render, TimedValuesApplyAtTheFirstBlockThatStartsAtOrAfterTheirTime) {
    const auto in = written("ones.wav", Audio{1, 1000, std::vector<float>(1000, 1.0f)});
    const auto result = render(in, "timed.wav", gain + " --block 100 --set Level=0.5@0.25");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Audio output = readWav(scratch() / "timed.wav");
    EXPECT_EQ(output.at(299, 0), 1.0f);
    EXPECT_EQ(output.at(300, 0), 0.5f) << "0.25 s is frame 250: the block at 300 applies it";
}

TEST(Render, BlockSizesThatDoNotDivideTheFileGiveTheSameOutput) {
    const Audio input = steps(2, 1000);
    const auto in = written("blocks.wav", input);
    for (const char* block : {"7", "300", "4096"}) {
        const auto result =
            render(in, "blocks-out.wav", gain + " --set Level=0.5 --block " + block);
        ASSERT_EQ(result.exitCode, 0) << block << ": " << result.err;
        expectScaled(readWav(scratch() / "blocks-out.wav"), input, 0.5f);
    }
}

TEST(Render, WithoutAnInputItRendersTenSecondsOfTheDemoRiff) {
    const auto out = scratch() / "demo-out.wav";
    auto result = torvane("render --out " + out.string() + gain);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "") << "no progress bar when stderr is not a terminal";
    EXPECT_EQ(result.out, "rendered the demo riff: 480000 frames (10.00 s, mono) through Test "
                          "gain to " +
                              out.string() + "\n");
    Audio output = readWav(out);
    EXPECT_EQ(output.channels, 1);
    EXPECT_EQ(output.rate, 48000);
    float peak = 0.0f;
    for (float sample : output.samples) {
        peak = std::max(peak, std::fabs(sample));
    }
    EXPECT_NEAR(20.0 * std::log10(peak), -6.0, 0.01);

    result = torvane("render --out " + out.string() + gain + " --rate 44100 --set Level=0.5");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    output = readWav(out);
    EXPECT_EQ(output.rate, 44100);
    EXPECT_EQ(output.frames(), 441000u);
    EXPECT_EQ(torvane("render --out " + out.string() + gain + " --rate 4000").exitCode, 2);
}

TEST(Render, TheDefaultPluginIsTorvaneBesideTheProgram) {
    const auto out = scratch() / "default-out.wav";
    const auto plugin = buildDirectory() + "/Torvane.so";
    const auto result = torvane("render --out " + out.string());
    if (std::filesystem::exists(plugin)) {
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(readWav(out).frames(), 480000u);
    } else {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.firstErrorLine(), "torvane render: plug-in " + plugin + ": no such file");
    }
}

TEST(Render, FailuresExitOneNameTheCauseAndLeaveNoOutput) {
    const auto in = written("fail-in.wav", steps(1, 2000));
    const auto notAPlugin = scratch() / "text.so";
    std::ofstream(notAPlugin) << "not a shared object";
    struct Case {
        std::string arguments;
        std::string message;
    };
    const std::vector<Case> cases = {
        {" --plugin /no/such/effect.so",
         "torvane render: plug-in /no/such/effect.so: no such file"},
        {" --plugin " + notAPlugin.string(), ": cannot be loaded: "},
        {" --plugin " + testPlugin("test_plugin_no_entry"), ": no entry point"},
        {" --plugin " + testPlugin("test_plugin_bad_magic"), ": not a VST 2 effect"},
        {gain + " --set Gain=1", "no parameter \"Gain\"; its parameters are \"Level\", "
                                 "\"Oversamp\" (or an index from 0 to 1)"},
        {gain + " --set 2=1", "no parameter \"2\""},
        {" --plugin " + testPlugin("test_plugin_throws") + " --block 100",
         "processReplacing failed: the test effect fails on its third block"},
    };
    const auto out = scratch() / "never.wav";
    for (const auto& c : cases) {
        const auto result = render(in, "never.wav", c.arguments);
        EXPECT_EQ(result.exitCode, 1) << c.arguments;
        EXPECT_NE(result.firstErrorLine().find(c.message), std::string::npos) << result.err;
        EXPECT_FALSE(std::filesystem::exists(out)) << c.arguments;
        EXPECT_FALSE(std::filesystem::exists(out.string() + ".partial")) << c.arguments;
    }
}

TEST(Render, UsageMistakesExitTwo) {
    const auto in = written("usage-in.wav", steps(1, 10));
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
