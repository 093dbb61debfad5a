#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

Audio riffLike(int channels, size_t frames, int rate = 48000) {
    Audio audio{channels, rate, {}};
    for (size_t i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / rate;
        for (int c = 0; c < channels; ++c) {
            audio.samples.push_back(static_cast<float>(0.3 * std::sin(2 * M_PI * (110.0 + 55.0 * c) * t) *
                                                       std::exp(-3.0 * std::fmod(t, 0.5))));
        }
    }
    return audio;
}

TEST(AmpCommand, AMonoFileGivesAMonoFileOfTheSameLength) {
    const auto out = scratch() / "amp-mono-out.wav";
    const auto in = written("amp-mono.wav", riffLike(1, 24000));
    ASSERT_EQ(torvane("amp --in " + in.string() + " --out " + out.string()).exitCode, 0);
    const Audio mono = readWav(out);
    EXPECT_EQ(mono.channels, 1);
    EXPECT_EQ(mono.frames(), 24000u);
}

// Stereo, both qualities and a timed change of the oversampling: the host adds nothing and
// loses nothing.
TEST(AmpCommand, MatchesTheSameSettingsRenderedThroughThePlugIn) {
    const auto input = written("amp-vs-plugin.wav", riffLike(2, 20000));
    const auto direct = scratch() / "direct.wav";
    const auto hosted = scratch() / "hosted.wav";
    ASSERT_EQ(torvane("amp --in " + input.string() + " --out " + direct.string() +
                      " --set Gain=0.8 --set CPU=1 --set Stereo=1 --set Oversampling=1@0.2")
                  .exitCode,
              0);
    const auto render = torvane("render --in " + input.string() + " --out " + hosted.string() +
                                " --set Volume=0.8 --set CPU=1 --set Stereo=1 --set Oversampling=1@0.2");
    ASSERT_EQ(render.exitCode, 0) << render.err;
    const Audio a = readWav(direct), b = readWav(hosted);
    ASSERT_EQ(a.samples.size(), b.samples.size());
    EXPECT_EQ(a.samples, b.samples);
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
    const auto input = written("amp-small.wav", riffLike(1, 100));
    const auto out = scratch() / "amp-never.wav";
    auto result = torvane("amp --in " + input.string() + " --out " + out.string() + " --set Volume=1");
    EXPECT_EQ(result.exitCode, 1) << "the amplifier's controls go by their document names";
    EXPECT_NE(result.err.find("Gain"), std::string::npos) << "it lists the names";
    EXPECT_EQ(torvane("amp --in /no/such.wav --out " + out.string()).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
} // namespace nodara::testing
