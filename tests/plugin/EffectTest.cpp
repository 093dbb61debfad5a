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

TEST(Effect, BlocksBeforeTheBlockSizeOrWhileSuspendedThrowTheDriversMessage) {
    auto effect = newEffect();
    std::vector<float> in(32), left(32), right(32);
    float* inputs[] = {in.data(), in.data()};
    float* outputs[] = {left.data(), right.data()};
    EXPECT_EQ(messageOf([&] { effect->processReplacing(inputs, outputs, 32); }),
              "Driver: Cannot process. maxBlockSize is not set.");
    effect->setSampleRate(48000.0f);
    effect->setBlockSize(32);
    effect->suspend();
    EXPECT_EQ(messageOf([&] { effect->processReplacing(inputs, outputs, 32); }),
              "Driver: Cannot process. Driver is in the suspend state.");
    effect->resume();
    EXPECT_NO_THROW(effect->processReplacing(inputs, outputs, 32));
}

TEST(Effect, ARateItCannotTakeKeepsItSuspendedUntilARateSucceeds) {
    auto effect = newEffect();
    std::vector<float> in(32, 0.1f), left(32), right(32);
    float* inputs[] = {in.data(), in.data()};
    float* outputs[] = {left.data(), right.data()};
    EXPECT_ANY_THROW(effect->setSampleRate(-48000.0f));
    effect->setBlockSize(32);
    effect->resume();
    EXPECT_EQ(messageOf([&] { effect->processReplacing(inputs, outputs, 32); }),
              "Driver: Cannot process. Driver is in the suspend state.")
        << "the graphs are half changed; a block must not run on them";
    effect->setSampleRate(48000.0f);
    effect->resume();
    EXPECT_NO_THROW(effect->processReplacing(inputs, outputs, 32));
}

TEST(Effect, StartUpFaultsLeaveWithTheParsersMessage) {
    const std::string document =
        "<System><Graphs><Graph Name=\"G\" Type=\"DSP\"><Element Type=\"Nonsense\" Name=\"x\"/>"
        "</Graph></Graphs></System>";
    EXPECT_EQ(messageOf([&] { torvane::createEffectInstance(versionHost, document); }),
              "Unknown element type: Nonsense");
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
