#include "support/TestPlugins.h"
#include "support/Tool.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <vector>

namespace nodara::testing {
namespace {

const std::string gain = " --plugin " + testPlugin("test_gain_plugin");

// Blocks of 256 and 7 frames do not divide the files; --rate tells the effect another rate
// and the file keeps its own.
TEST(Render, MonoAndStereoFilesKeepTheirChannelsThroughTheEffect) {
    const Audio mono = tone(1, 1000), stereo = tone(2, 1000, 44100);
    auto result = inOut("render", written("mono.wav", mono), scratch() / "mono-out.wav",
                        gain + " --set Level=0.5");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "rendered " + (scratch() / "mono.wav").string() +
                              ": 1000 frames (0.02 s, mono) through Test gain to " +
                              (scratch() / "mono-out.wav").string() + "\n");
    EXPECT_EQ(result.err, "");
    result = inOut("render", written("stereo.wav", stereo), scratch() / "stereo-out.wav",
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
}

// The two processes measure their own FFT plans, so the cabinet may round differently:
// equal within a millionth of the peak.
void expectEqualWithinRounding(const std::vector<float>& a, const std::vector<float>& b) {
    ASSERT_EQ(a.size(), b.size());
    float peak = 0, worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        peak = std::max(peak, std::abs(a[i]));
        worst = std::max(worst, std::abs(a[i] - b[i]));
    }
    EXPECT_GT(peak, 0.01f);
    EXPECT_LE(worst, 1e-6f * peak);
}

// Mono and stereo, both qualities and a timed change of the oversampling: the host adds
// nothing and loses nothing.
TEST(AmpCommand, MatchesTheSameSettingsRenderedThroughThePlugIn) {
    const auto direct = scratch() / "direct.wav", hosted = scratch() / "hosted.wav";
    const std::string settings = " --set CPU=1 --set Stereo=1 --set Oversampling=1@0.2";
    for (const int channels : {1, 2}) {
        const auto input = written("amp-vs-plugin.wav", tone(channels, 20000));
        ASSERT_EQ(inOut("amp", input, direct, " --set Gain=0.8" + settings).exitCode, 0);
        const auto render = inOut("render", input, hosted, " --set Volume=0.8" + settings);
        ASSERT_EQ(render.exitCode, 0) << render.err;
        EXPECT_EQ(readWav(direct).channels, channels);
        EXPECT_EQ(readWav(direct).samples.size(), 20000u * channels);
        expectEqualWithinRounding(readWav(direct).samples, readWav(hosted).samples);
    }
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
}

TEST(EditorCommand, TakesAScreenshotOfThePanel) {
    const auto shot = scratch() / "panel.png";
    const auto result = torvane("editor --screenshot " + shot.string());
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // The header's width and height, big-endian words at bytes 16 and 20: 1000 × 400.
    const auto bytes = bytesOf(shot);
    ASSERT_GE(bytes.size(), 24u);
    EXPECT_EQ(std::string(bytes.begin() + 16, bytes.begin() + 24),
              std::string("\0\0\x03\xe8\0\0\x01\x90", 8));
}

TEST(EditorCommand, SaysSoWithoutADisplay) {
    const std::string display = std::getenv("DISPLAY");
    unsetenv("DISPLAY");
    const auto result = torvane("editor --seconds 1");
    setenv("DISPLAY", display.c_str(), 1);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("no X display"), std::string::npos) << result.err;
}

} // namespace
} // namespace nodara::testing
