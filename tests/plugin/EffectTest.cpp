#include "plugin/PluginEntry.h"
#include "plugin/TorvaneVST2Effect.h"
#include "support/Documents.h"
#include "support/LoadedPlugin.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

std::unique_ptr<torvane::TorvaneVST2Effect> newEffect() {
    return std::unique_ptr<torvane::TorvaneVST2Effect>(
        static_cast<torvane::TorvaneVST2Effect*>(torvane::createEffectInstance(versionHost)));
}

// The C interface turns these into silence; the effect itself passes the driver's refusal on.
TEST(Effect, BlocksBeforeTheBlockSizeOrWhileSuspendedThrowTheDriversMessage) {
    auto effect = newEffect();
    std::vector<float> in(32), left(32), right(32);
    float* inputs[] = {in.data(), in.data()};
    float* outputs[] = {left.data(), right.data()};
    const auto block = [&] { effect->processReplacing(inputs, outputs, 32); };
    EXPECT_EQ(messageOf(block), "Driver: Cannot process. maxBlockSize is not set.");
    effect->setSampleRate(48000.0f);
    effect->setBlockSize(32);
    effect->suspend();
    EXPECT_EQ(messageOf(block), "Driver: Cannot process. Driver is in the suspend state.");
    effect->resume();
    EXPECT_NO_THROW(block());
    EXPECT_EQ(messageOf([] { torvane::createEffectInstance(versionHost, "<System/>"); }),
              "No graphs to parse.")
        << "a start-up fault leaves with the parser's message";
}

TEST(Effect, SpeakerArrangementsAndTheStereoSwitchSetTheMonoFlags) {
    auto effect = newEffect();
    EXPECT_FALSE(effect->isMonoBus());
    EXPECT_TRUE(effect->isMonoMode());
    vst2::VstSpeakerArrangement mono{}, stereo{}, surround{};
    mono.numChannels = 1;
    stereo.numChannels = 2;
    surround.numChannels = 6;
    EXPECT_TRUE(effect->setSpeakerArrangement(&mono, &mono));
    EXPECT_TRUE(effect->isMonoBus());
    EXPECT_TRUE(effect->setSpeakerArrangement(&surround, &stereo));
    EXPECT_TRUE(effect->isMonoBus()) << "other combinations leave it";
    effect->setSpeakerArrangement(&stereo, &stereo);
    EXPECT_FALSE(effect->isMonoBus());
    effect->setParameter(7, 0.5f);
    EXPECT_FALSE(effect->isMonoMode()) << "exactly 0.5 is stereo";
    effect->setParameter(7, 0.49f);
    EXPECT_TRUE(effect->isMonoMode());
}

} // namespace
} // namespace nodara::testing
