#include "amp/Amplifier.h"
#include "amp/EmbeddedData.h"
#include "support/Documents.h"
#include "support/Signals.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace torvane {
namespace {

using nodara::scalar;
using nodara::testing::allFinite;
using nodara::testing::amplitudeAt;
using nodara::testing::rms;
using nodara::testing::sine;

/// An amplifier at `rate` with the controls set by name (knob positions).
std::shared_ptr<nodara::Driver> amplifier(float rate, int block,
                                          const std::map<std::string, float>& knobs = {}) {
    auto driver = makeAmplifier();
    driver->setSampleRate(rate);
    driver->setMaxBlockSize(block);
    for (const auto& control : *driver->getControls()) {
        if (auto found = knobs.find(control->getName()); found != knobs.end()) {
            control->setValue(found->second);
        }
    }
    return driver;
}

/// Both system outputs for a mono signal fed to both chains, in blocks.
std::vector<std::vector<scalar>> render(nodara::Driver& driver, const std::vector<scalar>& signal,
                                        size_t block) {
    return nodara::testing::runBlocks(driver, {signal, signal}, block);
}

/// Harmonics 2 to 8 relative to the fundamental, over the second half.
double harmonicRatio(const std::vector<scalar>& signal, double fundamental, double rate) {
    const size_t start = signal.size() / 2;
    double harmonics = 0.0;
    for (int k = 2; k <= 8; ++k) {
        harmonics += std::pow(amplitudeAt(signal, k * fundamental, rate, start), 2);
    }
    return std::sqrt(harmonics) / amplitudeAt(signal, fundamental, rate, start);
}

/// The value each target of `control` holds after the control is set to `value`.
std::vector<scalar> targetValues(const std::string& control, float value) {
    auto driver = makeAmplifier();
    std::vector<scalar> values;
    for (const auto& candidate : *driver->getControls()) {
        if (candidate->getName() == control) {
            candidate->setValue(value);
            for (const auto& target : *candidate->getProperties()) {
                values.push_back(target->value);
            }
        }
    }
    return values;
}

// The maps' own formulas are not written out again here: what is checked is where the switch
// changes, what a value out of range becomes, and which targets each control reaches.
TEST(Amplifier, ValueMapsTurnKnobPositionsIntoPropertyValues) {
    EXPECT_EQ(targetValues("Oversampling", 0.24f), std::vector<scalar>(4, 2.0f));
    EXPECT_EQ(targetValues("Oversampling", 0.25f), std::vector<scalar>(4, 4.0f));
    EXPECT_EQ(targetValues("Oversampling", 0.74f), std::vector<scalar>(4, 4.0f));
    EXPECT_EQ(targetValues("Oversampling", 0.75f), std::vector<scalar>(4, 8.0f));
    EXPECT_EQ(targetValues("Oversampling", NAN), std::vector<scalar>(4, 2.0f)) << "not a number is 0";
    EXPECT_EQ(targetValues("Input", 1e30f), std::vector<scalar>(2, 4.0f)) << "beyond 1 is 1";
    EXPECT_EQ(targetValues("Vol", -3.0f), std::vector<scalar>(2, 0.0f));
    EXPECT_EQ(targetValues("Cabinet", 0.0f), std::vector<scalar>(2, 1.0f));
    EXPECT_EQ(targetValues("CPU", 1.0f), (std::vector<scalar>{1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f}));
    EXPECT_EQ(targetValues("Input", 0.5f), std::vector<scalar>(2, 1.0f));
    EXPECT_EQ(targetValues("Stereo", 1.0f), std::vector<scalar>(7, 0.0f));
}

TEST(Amplifier, EmbeddedTablesAreTheCommittedDataFiles) {
    for (const auto& table : embeddedTables()) {
        const auto bytes = nodara::testing::bytesOf(nodara::testing::sourceDirectory() +
                                                    "/amp/data/" + std::string(table.name) + ".f32");
        ASSERT_EQ(bytes.size(), table.values.size_bytes()) << table.name;
        const auto* stored = reinterpret_cast<const char*>(table.values.data());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), stored)) << table.name;
    }
    EXPECT_THROW(embeddedTable("V4"), nodara::InvalidArgumentException);
}

// With Stereo at 0 the second chain stands bypassed and passes its input; at 1 it is a twin.
TEST(Amplifier, OutputIsFiniteWithoutDcAndStereoTurnsTheSecondChainOn) {
    const auto input = sine(110.0, 48000.0, 48000 * 2, 0.3, 0.2);
    const auto out = render(*amplifier(48000.0f, 256), input, 256);
    EXPECT_TRUE(allFinite(out[0]));
    const double level = rms(out[0], 48000);
    const double mean = std::accumulate(out[0].begin() + 48000, out[0].end(), 0.0) / 48000;
    EXPECT_GT(level, 1e-4);
    EXPECT_LT(std::fabs(mean), 0.02 * level) << "no DC";
    EXPECT_EQ(out[1], input);
    const auto twins = render(*amplifier(48000.0f, 256, {{"Stereo", 1.0f}}), input, 256);
    for (size_t i = 0; i < twins[0].size(); ++i) {
        ASSERT_NEAR(twins[1][i], twins[0][i], 1e-6f) << "twin chains on one signal agree";
    }
}

TEST(Amplifier, HarmonicsRiseWithGainAndTheFullQualityBranchSoundsDifferently) {
    const auto input = sine(220.0, 48000.0, 48000, 0.5);
    double previous = 0.0;
    for (float gain : {0.1f, 0.5f, 0.9f}) {
        auto driver = amplifier(48000.0f, 256, {{"Gain", gain}, {"Cabinet", 0.0f}});
        const double ratio = harmonicRatio(render(*driver, input, 256)[0], 220.0, 48000.0);
        EXPECT_GT(ratio, previous) << "Gain " << gain;
        previous = ratio;
    }
    const auto low = render(*amplifier(48000.0f, 256, {{"Gain", 0.9f}}), input, 256)[0];
    const auto full = render(*amplifier(48000.0f, 256, {{"Gain", 0.9f}, {"CPU", 1.0f}}), input, 256)[0];
    EXPECT_TRUE(allFinite(full));
    double difference = 0.0;
    for (size_t i = 24000; i < low.size(); ++i) {
        difference = std::max(difference, double(std::fabs(low[i] - full[i])));
    }
    EXPECT_GT(difference, 1e-4);
}

TEST(Amplifier, BlockSizeChangesOnlyTheConvolutionsRounding) {
    const auto input = sine(196.0, 48000.0, 12000, 0.4);
    const auto reference = render(*amplifier(48000.0f, 1000), input, 1000)[0];
    for (size_t block : {1u, 64u, 256u}) {
        const auto out = render(*amplifier(48000.0f, static_cast<int>(block)), input, block)[0];
        double worst = 0.0;
        for (size_t i = 0; i < out.size(); ++i) {
            worst = std::max(worst, static_cast<double>(std::fabs(out[i] - reference[i])));
        }
        EXPECT_LT(worst, 1e-5 * std::max(1.0, rms(reference, 0)) + 1e-7) << "block " << block;
    }
}

// A host automating the switch reaches every position between the three it shows.
TEST(Amplifier, EveryOversamplingPositionSoundsAlike) {
    auto driver = amplifier(48000.0f, 256, {{"Cabinet", 0.0f}});
    const auto input = sine(1000.0, 48000.0, 256 * 16, 0.05);
    const auto levelAt = [&](float position) {
        (*driver->getControls())[3]->setValue(position);
        const auto out = render(*driver, input, 256)[0];
        EXPECT_TRUE(allFinite(out)) << position;
        return 20.0 * std::log10(amplitudeAt(out, 1000.0, 48000.0, out.size() / 2));
    };
    const double reference = levelAt(0.5f);
    for (int step = 0; step <= 100; ++step) {
        ASSERT_NEAR(levelAt(0.01f * float(step)), reference, 3.0) << "position " << step << "%";
    }
}

} // namespace
} // namespace torvane
