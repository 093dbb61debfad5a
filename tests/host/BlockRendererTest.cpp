#include "support/TestPlugins.h"

#include "tools/host/BlockRenderer.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace nodara::testing {
namespace {

using torvane::host::BlockRenderer;
using torvane::host::PluginHost;
using torvane::host::RenderSetup;

using Channels = std::vector<std::vector<float>>;

/// Renders `input` in blocks of `setup.blockFrames` through the test gain effect.
Channels render(const Channels& input, RenderSetup setup) {
    PluginHost host(testPlugin("test_gain_plugin"));
    BlockRenderer renderer(host, setup);
    Channels output(input.size());
    const size_t frames = input[0].size();
    for (size_t start = 0; start < frames; start += static_cast<size_t>(setup.blockFrames)) {
        const size_t count = std::min(frames - start, static_cast<size_t>(setup.blockFrames));
        std::vector<const float*> block;
        for (const auto& channel : input) {
            block.push_back(channel.data() + start);
        }
        const auto result = renderer.process(block, static_cast<int>(count));
        for (size_t c = 0; c < input.size(); ++c) {
            output[c].insert(output[c].end(), result[c], result[c] + count);
        }
    }
    return output;
}

// Mono is announced as mono and feeds both inputs from one buffer; stereo keeps the channels
// apart (the samples are checked through the render command). The effect hears its own rate,
// not the audio's.
TEST(BlockRenderer, AnnouncesTheLayoutAndFeedsTheChannels) {
    const std::tuple<int, std::string, std::vector<std::string>> cases[] = {
        {1, "arrangement 0/1 0/1", {"process 64 shared", "process 36 shared"}},
        {2, "arrangement 1/2 1/2", {"process 64", "process 36"}},
    };
    for (const auto& [channels, arrangement, processes] : cases) {
        CallLog log;
        render(Channels(static_cast<size_t>(channels), std::vector<float>(100)),
               {channels, 1000.0, 96000.0, 64, {}});
        EXPECT_EQ(log.linesStartingWith("arrangement"), std::vector<std::string>{arrangement});
        EXPECT_EQ(log.linesStartingWith("process"), processes);
        EXPECT_EQ(log.linesStartingWith("host"),
                  std::vector<std::string>{"host 96000 64 4 Quillon Audio"});
    }
}

TEST(BlockRenderer, TimedChangesComeBeforeTheFirstBlockStartingAtOrAfterTheirTime) {
    CallLog log;
    const RenderSetup setup = {1, 1000.0, 1000.0, 100,
                               {{0, 0.25f, 0.25}, {1, 1.0f, {}}, {0, 0.125f, 0.35}}};
    const Channels output = render(Channels(1, std::vector<float>(500, 1.0f)), setup);
    EXPECT_EQ(output[0][299], 1.0f);
    EXPECT_EQ(output[0][300], 0.25f) << "0.25 s is frame 250: the block at 300 takes it";
    EXPECT_EQ(output[0][399], 0.25f);
    EXPECT_EQ(output[0][400], 0.125f) << "0.35 s falls inside the block at 300";
    const auto lines = log.lines();
    const auto at = [&](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) - lines.begin();
    };
    EXPECT_LT(at("set 1 1"), at("mains 1")) << "untimed values come before the start";
    EXPECT_EQ(at("set 0 0.25"), at("process 100 shared") + 3) << "after three blocks";
}

} // namespace
} // namespace nodara::testing
