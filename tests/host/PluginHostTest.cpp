#include "support/Documents.h"
#include "support/TestPlugins.h"
#include "tools/host/ParameterLookup.h"
#include "tools/host/PluginHost.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace nodara::testing {
namespace {

using torvane::host::ChannelLayout;
using torvane::host::PluginHost;

std::string loadError(const std::string& path) { return messageOf([&] { PluginHost host(path); }); }

TEST(PluginHost, DrivesTheEffectInTheHostOrder) {
    CallLog log;
    {
        PluginHost host(testPlugin("test_gain_plugin"));
        host.prepare(48000.0, 256, ChannelLayout::stereo);
        host.setParameter(0, 0.5f);
        host.resume();
        std::vector<float> a(256, 1.0f), b(256, 1.0f), c(256), d(256);
        float* inputs[] = {a.data(), b.data()};
        float* outputs[] = {c.data(), d.data()};
        host.process(inputs, outputs, 256);
        host.process(inputs, outputs, 100);
        EXPECT_EQ(c[0], 0.5f);
    }
    const std::vector<std::string> expected = {
        "version 2400",        "open",        "rate 48000", "block 256",
        "arrangement 1/2 1/2", "set 0 0.5",   "mains 1",    "host 48000 256 4 Quillon Audio",
        "process 256",         "process 100", "mains 0",    "close"};
    EXPECT_EQ(log.lines(), expected) << "the destructor suspends, closes, then unloads";
}

// The second effect exports its entry point only under the old name "main".
TEST(PluginHost, ReadsTheIdentityAndEightByteNamesWithoutTerminator) {
    for (const char* name : {"test_gain_plugin", "test_plugin_main_only"}) {
        PluginHost host(testPlugin(name));
        const auto& id = host.identity();
        EXPECT_EQ(std::tie(id.effectName, id.vendor, id.product),
                  std::tuple("Test gain", "Quillon Audio tests", "Gain"));
        EXPECT_EQ(std::tuple(id.vendorVersion, id.version, id.inputs, id.outputs),
                  std::tuple(7, 3, 2, 2));
        EXPECT_EQ(torvane::host::uniqueIdText(id.uniqueId), "tGn1");
        EXPECT_EQ(id.parameterNames, (std::vector<std::string>{"Level", "Oversamp"}));
        EXPECT_FLOAT_EQ(host.parameter(1), 0.5f);
    }
    EXPECT_EQ(torvane::host::uniqueIdText(0x01020304), "16909060");
}

TEST(PluginHost, LoadsARelativePathFromTheWorkingFolderNotTheLibraryPath) {
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(buildDirectory() + "/test-plugins");
    const std::string error = messageOf([] {
        PluginHost host("test_gain_plugin.so");
        EXPECT_EQ(host.path(), buildDirectory() + "/test-plugins/test_gain_plugin.so");
    });
    std::filesystem::current_path(previous);
    EXPECT_EQ(error, "<no exception>");
}

TEST(PluginHost, RefusesWhatItCannotHostWithTheReasonAndThePath) {
    const auto notAPlugin = scratch() / "not-a-plugin.so";
    std::ofstream(notAPlugin) << "just text";
    const std::pair<std::string, std::string> cases[] = {
        {"/no/such/effect.so", "no such file"},
        {notAPlugin.string(), "cannot be loaded: "},
        {testPlugin("test_plugin_no_entry"),
         "no entry point: it exports neither VSTPluginMain nor main"},
        {testPlugin("test_plugin_null_effect"), "the entry point returned no effect"},
        {testPlugin("test_plugin_bad_magic"),
         "not a VST 2 effect: magic number 0x4e6f7065 instead of 0x56737450"},
        {testPlugin("test_plugin_no_replacing"),
         "the effect has no replacing process call (processReplacing)"},
        {testPlugin("test_plugin_no_inputs"),
         "the effect has 0 inputs and 2 outputs; it needs at least one of each"},
    };
    for (const auto& [path, reason] : cases) {
        EXPECT_EQ(loadError(path).rfind("plug-in " + path + ": " + reason, 0), 0u)
            << loadError(path);
    }
}

TEST(PluginHost, ClosesAnEffectItRefusesAfterItWasMade) {
    for (const char* name : {"test_plugin_no_replacing", "test_plugin_no_inputs"}) {
        CallLog log(name);
        loadError(testPlugin(name));
        EXPECT_EQ(log.lines(), (std::vector<std::string>{"version 2400", "close"})) << name;
    }
}

// The error's message is checked through the render command.
TEST(PluginHost, AnExceptionFromTheEffectBecomesAnErrorAndTheEffectIsStillClosed) {
    CallLog log("test_plugin_throws");
    {
        PluginHost host(testPlugin("test_plugin_throws"));
        host.prepare(44100.0, 64, ChannelLayout::stereo);
        host.resume();
        std::vector<float> buffer(64);
        float* channels[] = {buffer.data(), buffer.data()};
        EXPECT_NE(messageOf([&] {
                      for (int block = 0; block < 3; ++block) {
                          host.process(channels, channels, 64);
                      }
                  }),
                  "<no exception>");
    }
    const auto lines = log.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "mains 0");
    EXPECT_EQ(lines.back(), "close");
}

TEST(PluginHost, RefusesCallsOutOfOrderOrOutOfBounds) {
    PluginHost host(testPlugin("test_gain_plugin"));
    std::vector<float> buffer(64);
    float* channels[] = {buffer.data(), buffer.data()};
    EXPECT_THROW(host.resume(), std::logic_error) << "resume before prepare";
    host.prepare(48000.0, 32, ChannelLayout::mono);
    EXPECT_THROW(host.process(channels, channels, 32), std::logic_error) << "while suspended";
    host.resume();
    EXPECT_THROW(host.process(channels, channels, 33), std::logic_error) << "above the block size";
    EXPECT_THROW(host.process(channels, channels, 0), std::logic_error);
    EXPECT_THROW(host.prepare(44100.0, 32, ChannelLayout::mono), std::logic_error) << "running";
    EXPECT_THROW(host.setParameter(2, 0.0f), std::out_of_range);
    EXPECT_THROW(host.setParameter(-1, 0.0f), std::out_of_range);
}

using torvane::host::findParameter;

/// The names an amplifier with eight controls reports, cut to 8 bytes by the interface.
const std::vector<std::string> reported = {"Volume",  "Feedback", "Output", "Oversamp",
                                           "Cabinet", "CPU",      "Input",  "Stereo"};

// An exact name wins over a match in case and over an index; of equal matches, the first.
TEST(ParameterLookup, ExactThenFirstEightLettersInAnyCaseThenIndex) {
    const std::vector<std::tuple<std::vector<std::string>, std::string, int>> cases = {
        {reported, "Output", 2},         {reported, "oversampling", 3},
        {reported, "OVERSAMPLE", 3},     {reported, "cpu", 5},
        {reported, "7", 7},              {reported, "Feedback!", 1},
        {{"abcdefgh", "ABCDEFGH"}, "ABCDEFGH", 1}, {{"a", "b", "c", "0"}, "0", 3},
        {{"Level", "level"}, "LEVEL", 0},
    };
    for (const auto& [names, wanted, index] : cases) {
        EXPECT_EQ(findParameter(names, wanted), index) << wanted;
    }
}

TEST(ParameterLookup, UnknownNamesAndIndexesFailNamingThemAndListingTheNames) {
    const std::string list = "its parameters are \"Volume\", \"Feedback\", \"Output\", "
                             "\"Oversamp\", \"Cabinet\", \"CPU\", \"Input\", \"Stereo\" "
                             "(or an index from 0 to 7)";
    for (const std::string wanted : {"Gain", "Over", "8", "-1", "Vol", " 1", "1.0"}) {
        EXPECT_EQ(messageOf([&] { findParameter(reported, wanted); }),
                  "no parameter \"" + wanted + "\"; " + list);
    }
    EXPECT_THROW(findParameter({}, "0"), std::runtime_error);
}

} // namespace
} // namespace nodara::testing
