#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

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
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
} // namespace nodara::testing
