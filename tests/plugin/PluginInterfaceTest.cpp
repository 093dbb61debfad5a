#include "support/LoadedPlugin.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>
#include <xmmintrin.h>

namespace nodara::testing {
namespace {

std::vector<float> guitarLike(size_t frames, int rate) { return sine(196.0, rate, frames, 0.3); }

TEST(PluginInterface, ExportsOnlyItsEntryPoints) {
    const auto symbols = scratch() / "symbols.txt";
    const std::string list = "nm -D --defined-only " + buildDirectory() + "/Torvane.so";
    ASSERT_EQ(std::system((list + " | awk '{print $3}' > " + symbols.string()).c_str()), 0);
    EXPECT_EQ(readAll(symbols), "VSTPluginMain\nmain\n");
}

TEST(PluginInterface, TellsItsIdentity) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    const vst2::AEffect& r = *effect.effect;
    EXPECT_EQ(std::tuple(r.magic, r.uniqueID, r.numParams, r.numPrograms, r.numInputs, r.numOutputs,
                         r.version, r.initialDelay, r.ioRatio),
              std::tuple(vst2::effectMagic, 0x6d353172, 8, 1, 2, 2, 1, 0, 1.0f));
    EXPECT_EQ(r.flags & (vst2::effFlagsCanReplacing | vst2::effFlagsCanDoubleReplacing |
                         vst2::effFlagsHasEditor),
              vst2::effFlagsCanReplacing | vst2::effFlagsHasEditor);
    char text[65] = {};
    EXPECT_EQ(effect.call(vst2::effGetVendorString, 0, 0, text), 1);
    EXPECT_STREQ(text, "Quillon Audio");
    const std::pair<vst2::VstInt32, vst2::VstIntPtr> answers[] = {
        {vst2::effGetVendorVersion, 1100}, {vst2::effGetVstVersion, 2400},
        {vst2::effGetEffectName, 0},       {vst2::effGetProductString, 0},
        {vst2::effGetTailSize, 0},         {vst2::effGetPlugCategory, 0},
        {vst2::effGetChunk, 0}};
    for (const auto& [opcode, answer] : answers) {
        EXPECT_EQ(effect.call(opcode, 0, 0, text), answer) << "opcode " << opcode;
    }
    EXPECT_EQ(effect.call(vst2::effCanDo, 0, 0, const_cast<char*>("receiveVstMidiEvent")), 0);
    EXPECT_EQ(effect.call(vst2::effCanBeAutomated, 3), 1);
    EXPECT_EQ(effect.call(vst2::effSetBypass, 0, 1), 0);
}

TEST(PluginInterface, ParameterNamesAreEightBytesWithNoTerminatorAdded) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    const char* expected[] = {"Volume",  "Feedback", "Output", "Oversamp",
                              "Cabinet", "CPU",      "Input",  "Stereo"};
    for (int i = 0; i < 8; ++i) {
        char name[12];
        std::memset(name, 'X', sizeof name);
        effect.call(vst2::effGetParamName, i, 0, name);
        EXPECT_EQ(std::string(name, strnlen(name, 8)), expected[i]);
        EXPECT_EQ(name[8], 'X') << "nothing is written past 8 bytes";
    }
    char untouched[12] = "unchanged";
    effect.call(vst2::effGetParamName, 8, 0, untouched);
    EXPECT_STREQ(untouched, "unchanged");
}

TEST(PluginInterface, ParametersKeepTheirHostValuesAndIgnoreBadIndices) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    effect.effect->setParameter(effect.effect, 0, 0.8f);
    EXPECT_FLOAT_EQ(effect.effect->getParameter(effect.effect, 0), 0.8f) << "the unmapped value";
    effect.effect->setParameter(effect.effect, 8, 0.3f);
    effect.effect->setParameter(effect.effect, -1, 0.3f);
    EXPECT_FLOAT_EQ(effect.effect->getParameter(effect.effect, 8), 0.0f);
}

/// Blocks of 128 frames of `left` and `right` (none on a mono bus) with Stereo at `stereo`.
using Outputs = std::pair<std::vector<float>, std::vector<float>>;

Outputs render(LoadedPlugin& plugin, int channels, float stereo, const std::vector<float>& left,
               const std::vector<float>& right) {
    Effect effect(plugin);
    effect.arrange(channels);
    effect.start(48000.0f, 128);
    effect.effect->setParameter(effect.effect, 7, stereo);
    std::vector<float> outLeft(left.size()), outRight(left.size());
    for (size_t start = 0; start < left.size(); start += 128) {
        effect.process(const_cast<float*>(left.data()) + start,
                       channels == 1 ? nullptr : const_cast<float*>(right.data()) + start,
                       outLeft.data() + start, outRight.data() + start, 128);
    }
    if (channels == 1) { // a mono host may give no second output
        std::vector<float> last(128);
        effect.process(const_cast<float*>(left.data()), nullptr, last.data(), nullptr, 128);
    }
    return {outLeft, outRight};
}

TEST(PluginInterface, MonoBusesHearTheFirstChainOnBothOutputs) {
    LoadedPlugin plugin;
    const auto [left, right] = render(plugin, 1, 0.0f, guitarLike(128 * 40, 48000), {});
    EXPECT_EQ(left, right);
    EXPECT_TRUE(allFinite(left));
    EXPECT_GT(peak(left), 1e-4) << "the amplifier sounds";
}

TEST(PluginInterface, StereoMakesTheSecondChannelItsOwn) {
    LoadedPlugin plugin;
    const auto left = guitarLike(128 * 30, 48000);
    std::vector<float> right(left.size());
    for (size_t i = 0; i < right.size(); ++i) {
        right[i] = 0.5f * left[(i * 7) % left.size()];
    }
    const auto [monoLeft, monoRight] = render(plugin, 2, 0.49f, left, right);
    EXPECT_EQ(monoLeft, monoRight) << "Stereo off below 0.5: the second output copies the first";
    const auto [stereoLeft, stereoRight] = render(plugin, 2, 0.5f, left, right);
    EXPECT_EQ(stereoLeft, monoLeft) << "the first chain does not care";
    EXPECT_NE(stereoRight, stereoLeft) << "Stereo on: the second chain plays the second input";
}

TEST(PluginInterface, BlocksWhileSuspendedAreSilenceAndStateSurvivesResume) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    effect.start(44100.0f, 64);
    const auto input = guitarLike(64, 44100);
    std::vector<float> left(64, 1.0f), right(64, 1.0f);
    effect.call(vst2::effMainsChanged, 0, 0);
    effect.process(const_cast<float*>(input.data()), nullptr, left.data(), right.data(), 64);
    EXPECT_EQ(left, std::vector<float>(64, 0.0f));
    EXPECT_EQ(right, std::vector<float>(64, 0.0f));
    effect.call(vst2::effMainsChanged, 0, 1);
    effect.process(const_cast<float*>(input.data()), nullptr, left.data(), right.data(), 64);
    EXPECT_TRUE(allFinite(left));
}

// What a host asks while it scans its plug-in folder, before any rate or block size.
TEST(PluginInterface, SurvivesAScanWithoutRateOrBlockSize) {
    LoadedPlugin plugin;
    vst2::AEffect* record = plugin.entry(versionHost);
    ASSERT_NE(record, nullptr);
    char text[65] = {};
    for (auto opcode : {vst2::effOpen, vst2::effGetVstVersion, vst2::effGetEffectName,
                        vst2::effGetProductString, vst2::effGetVendorString,
                        vst2::effGetPlugCategory}) {
        record->dispatcher(record, opcode, 0, 0, text, 0.0f);
    }
    for (const char* capability : {"sendVstEvents", "receiveVstMidiEvent", "plugAsChannelInsert"}) {
        record->dispatcher(record, vst2::effCanDo, 0, 0, const_cast<char*>(capability), 0.0f);
    }
    record->dispatcher(record, vst2::effMainsChanged, 0, 0, nullptr, 0.0f);
    EXPECT_EQ(record->dispatcher(record, vst2::effClose, 0, 0, nullptr, 0.0f), 1);
}

// A rate or block the amplifier cannot take leaves it silent, never crashed, until good ones
// come; refusals happen before anything changes, so the sound then comes back.
TEST(PluginInterface, ImpossibleRatesAndBlocksAreRefusedUntilGoodOnesCome) {
    LoadedPlugin plugin;
    const std::pair<float, int> refused[] = {{0.0f, 64},   {NAN, 64},      {-48000.0f, 64},
                                             {8000.0f, 64}, {1e9f, 64},     {48000.0f, 0},
                                             {48000.0f, -3}, {48000.0f, 1 << 20}};
    auto input = guitarLike(64 * 40, 48000);
    std::vector<float> left(input.size()), right(input.size());
    const auto play = [&](Effect& effect) {
        for (size_t start = 0; start < input.size(); start += 64) {
            effect.process(input.data() + start, input.data() + start, left.data() + start,
                           right.data() + start, 64);
        }
        return peak(left);
    };
    for (const auto& [rate, block] : refused) {
        Effect effect(plugin);
        effect.start(rate, block);
        EXPECT_EQ(play(effect), 0.0) << rate << " Hz, " << block << " frames";
        effect.call(vst2::effSetSampleRate, 0, 0, nullptr, 48000.0f);
        effect.call(vst2::effSetBlockSize, 0, 64);
        effect.call(vst2::effMainsChanged, 0, 1);
        EXPECT_GT(play(effect), 1e-4) << rate << " Hz, " << block << " frames";
    }
}

/// An effect at 48 kHz in blocks of 256 playing a steady tone, its left output measured.
class TonePlayer {
public:
    explicit TonePlayer(LoadedPlugin& plugin) : effect(plugin) { effect.start(48000.0f, 256); }

    /// Plays `seconds` of the tone, with `bad` at the first sample when given; returns the
    /// level (dBFS RMS) of the second half, or NaN if any output sample was not finite there.
    double play(double seconds, std::optional<float> bad = {}) {
        const size_t frames = static_cast<size_t>(seconds * 48000.0) / 256 * 256;
        std::vector<float> out(frames), right(256);
        for (size_t start = 0; start < frames; start += 256) {
            auto block = sine(220.0, 48000.0, 256, 0.3);
            if (bad && start == 0) {
                block[0] = *bad;
            }
            effect.process(block.data(), block.data(), out.data() + start, right.data(), 256);
        }
        const std::vector<float> tail(out.begin() + long(frames / 2), out.end());
        return allFinite(tail) ? 20.0 * std::log10(rms(tail, 0) + 1e-30) : NAN;
    }

    Effect effect;
};

// Within a second of a bad sample passing, or of a parameter coming back from a bad value,
// the output is finite and at its level again: no value a host sends may silence it for good.
TEST(PluginInterface, RecoversFromUnplayableInputAndParameterValues) {
    LoadedPlugin plugin;
    for (float cpu : {0.0f, 1.0f}) {
        TonePlayer player(plugin);
        player.effect.effect->setParameter(player.effect.effect, 5, cpu);
        const double level = player.play(1.0);
        ASSERT_TRUE(std::isfinite(level));
        for (float bad : {NAN, INFINITY, -INFINITY, 1e30f}) {
            player.play(0.02, bad);
            EXPECT_NEAR(player.play(1.0), level, 10.0) << "CPU " << cpu << ", input " << bad;
        }
        for (int index = 0; index < 8 && cpu == 0.0f; ++index) {
            const float good = player.effect.effect->getParameter(player.effect.effect, index);
            for (float bad : {NAN, -1.0f, 1e30f}) {
                player.effect.effect->setParameter(player.effect.effect, index, bad);
                player.play(0.1);
                player.effect.effect->setParameter(player.effect.effect, index, good);
                EXPECT_NEAR(player.play(1.0), level, 10.0)
                    << "CPU " << cpu << ", parameter " << index << " at " << bad;
            }
        }
    }
}

// Any rate the amplifier takes and any block size from 1 frame to 8192: a 1 kHz tone keeps its
// level within 3 dB.
TEST(PluginInterface, AToneKeepsItsLevelAtEveryRateAndBlockSize) {
    LoadedPlugin plugin;
    const auto level = [&](float rate, int block) {
        Effect effect(plugin);
        effect.start(rate, block);
        const auto frames = static_cast<size_t>(rate * 0.25f) / 8192 * 8192 + 8192;
        auto input = sine(1000.0, rate, frames, 0.05);
        std::vector<float> left(frames), right(frames);
        for (size_t start = 0; start < frames; start += static_cast<size_t>(block)) {
            effect.process(input.data() + start, input.data() + start, left.data() + start,
                           right.data() + start, block);
        }
        return 20.0 * std::log10(amplitudeAt(left, 1000.0, rate, frames / 2));
    };
    const double reference = level(48000.0f, 256);
    for (float rate : {20500.0f, 22050.0f, 44100.0f, 96000.0f, 192000.0f, 768000.0f}) {
        for (int block : {1, 8192}) {
            EXPECT_NEAR(level(rate, block), reference, 3.0) << rate << " Hz, blocks of " << block;
        }
    }
}

// Hosts resume at every start of the transport. With silence in, nothing may be heard: not
// at the start, not when either branch is switched in, not after a second start.
TEST(PluginInterface, SilenceInIsSilenceOutFromTheFirstSample) {
    LoadedPlugin plugin;
    for (const auto& [rate, block] : {std::pair{48000.0f, 256}, std::pair{96000.0f, 1}}) {
        Effect effect(plugin);
        effect.start(rate, block);
        std::vector<float> silence(block), left(block), right(block);
        const auto loudest = [&] {
            double largest = 0.0;
            for (int done = 0; done < int(rate) / 4; done += block) {
                effect.process(silence.data(), silence.data(), left.data(), right.data(), block);
                largest = std::max(largest, peak(left));
            }
            return 20.0 * std::log10(largest + 1e-30);
        };
        EXPECT_LT(loudest(), -70.0) << "resume at " << rate;
        for (float cpu : {1.0f, 0.0f}) {
            effect.effect->setParameter(effect.effect, 5, cpu);
            EXPECT_LT(loudest(), -70.0) << "CPU to " << cpu << " at " << rate;
        }
        effect.call(vst2::effMainsChanged, 0, 0);
        effect.call(vst2::effMainsChanged, 0, 1);
        EXPECT_LT(loudest(), -70.0) << "second resume at " << rate;
    }
}

// The mode belongs to the host's thread: each entry point may flush denormals while it runs,
// and must give the host's own mode back.
TEST(PluginInterface, EveryEntryPointGivesTheHostItsFloatingPointModeBack) {
    LoadedPlugin plugin;
    const unsigned hostMode = _mm_getcsr() & ~0x8040u;
    _mm_setcsr(hostMode);
    std::vector<float> in(64, 0.1f), left(64), right(64);
    vst2::AEffect* record = plugin.entry(versionHost);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(_mm_getcsr(), hostMode) << "VSTPluginMain";
    Effect effect(plugin);
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"start", [&] { effect.start(48000.0f, 64); }},
        {"process", [&] { effect.process(in.data(), in.data(), left.data(), right.data(), 64); }},
        {"setParameter", [&] { effect.effect->setParameter(effect.effect, 0, 0.7f); }},
        {"getParameter", [&] { effect.effect->getParameter(effect.effect, 0); }},
        {"a refused rate", [&] { effect.call(vst2::effSetSampleRate, 0, 0, nullptr, -1.0f); }},
        {"suspend", [&] { effect.call(vst2::effMainsChanged, 0, 0); }},
        {"a refused block", [&] { effect.process(in.data(), in.data(), left.data(), right.data(), 64); }},
        {"close", [&] { record->dispatcher(record, vst2::effClose, 0, 0, nullptr, 0.0f); }},
    };
    for (const auto& [name, call] : calls) {
        call();
        EXPECT_EQ(_mm_getcsr(), hostMode) << name;
    }
}

// Hosts get the order and the arguments wrong: nothing of it may crash, a good block plays
// afterwards, and the effect still suspends and closes.
TEST(PluginInterface, AbuseOfTheCallsIsSurvived) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    vst2::AEffect* record = effect.effect;
    std::vector<float> in(64, 0.1f), left(64), right(64);
    float* inputs[] = {in.data(), in.data()};
    float* outputs[] = {left.data(), right.data()};
    record->processReplacing(record, inputs, outputs, 64);
    effect.start(48000.0f, 64);
    for (int frames : {-5, 0, 65}) {
        record->processReplacing(record, inputs, outputs, frames);
    }
    record->processReplacing(record, nullptr, outputs, 64);
    record->processReplacing(record, inputs, nullptr, 64);
    record->processReplacing(nullptr, inputs, outputs, 64);
    record->setParameter(nullptr, 0, 1.0f);
    EXPECT_EQ(record->getParameter(nullptr, 0), 0.0f);
    EXPECT_EQ(record->dispatcher(nullptr, vst2::effOpen, 0, 0, nullptr, 0.0f), 0);
    record->dispatcher(record, vst2::effGetParamName, 0, 0, nullptr, 0.0f);
    record->dispatcher(record, vst2::effSetSpeakerArrangement, 0, 0, nullptr, 0.0f);
    record->processReplacing(record, inputs, outputs, 64);
    EXPECT_TRUE(allFinite(left));
    EXPECT_EQ(effect.call(vst2::effMainsChanged, 0, 0), 0);
}

TEST(PluginInterface, NoHostNoEffect) {
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.entry(absentHost), nullptr);
    EXPECT_EQ(plugin.entry(nullptr), nullptr);
}

// The audio runs while one host thread writes parameters (bad values too) and reads them and
// their names, and another changes the rate and the block size, refuses some, and suspends and
// resumes: every change waits for the running block, and blocks that come meanwhile are
// silence. Both threads fail at times, and report it, at once. Run under ThreadSanitizer by
// `make tsan`.
TEST(PluginInterface, HostThreadsMayChangeParametersAndRatesWhileAudioRuns) {
    LoadedPlugin plugin;
    Effect effect(plugin);
    effect.start(48000.0f, 512);
    std::atomic<bool> running{true};
    std::thread writer([&] {
        char name[16];
        for (int i = 0; running; ++i) {
            const float value = i % 7 == 6 ? NAN : static_cast<float>(i % 3) * 0.5f;
            effect.effect->setParameter(effect.effect, i % 8, value);
            effect.effect->getParameter(effect.effect, (i + 3) % 8);
            effect.call(vst2::effGetParamName, i % 8, 0, name);
        }
    });
    std::thread dispatcher([&] {
        for (int i = 0; running; ++i) {
            const float rate = i % 5 == 4 ? 8000.0f : (i % 2 ? 44100.0f : 96000.0f);
            effect.call(vst2::effSetSampleRate, 0, 0, nullptr, rate);
            effect.call(vst2::effSetBlockSize, 0, 256 + 256 * (i % 3));
            effect.call(vst2::effMainsChanged, 0, i % 4 == 3 ? 0 : 1);
        }
    });
    const auto input = guitarLike(256, 48000);
    std::vector<float> left(256), right(256);
    for (int block = 0; block < 200; ++block) {
        effect.process(const_cast<float*>(input.data()), nullptr, left.data(), right.data(), 256);
        EXPECT_TRUE(allFinite(left));
    }
    running = false;
    writer.join();
    dispatcher.join();
    effect.call(vst2::effSetSampleRate, 0, 0, nullptr, 48000.0f);
    effect.call(vst2::effMainsChanged, 0, 1);
    effect.process(const_cast<float*>(input.data()), nullptr, left.data(), right.data(), 256);
    EXPECT_TRUE(allFinite(left)) << "the last good rate brings the sound back";
}

} // namespace
} // namespace nodara::testing
