#include "amp/Amplifier.h"
#include "amp/EmbeddedData.h"
#include "support/Documents.h"
#include "support/Tool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <numbers>

namespace torvane {
namespace {

using nodara::scalar;

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

std::vector<scalar> sine(double frequency, double rate, size_t frames, double amplitude, double offset = 0.0) {
    std::vector<scalar> values(frames);
    for (size_t i = 0; i < frames; ++i) {
        values[i] = static_cast<scalar>(
            offset + amplitude * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    }
    return values;
}

/// Both system outputs for a mono signal fed to both chains, in blocks.
std::vector<std::vector<scalar>> render(nodara::Driver& driver, const std::vector<scalar>& signal,
                                        size_t block) {
    return nodara::testing::runBlocks(driver, {signal, signal}, block);
}

double amplitudeAt(const std::vector<scalar>& signal, double frequency, double rate, size_t start) {
    double re = 0.0, im = 0.0;
    for (size_t i = start; i < signal.size(); ++i) {
        const double phase = 2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        re += signal[i] * std::cos(phase);
        im += signal[i] * std::sin(phase);
    }
    return 2.0 * std::hypot(re, im) / static_cast<double>(signal.size() - start);
}

/// Energy of harmonics 2 to 8 relative to the fundamental.
double harmonicRatio(const std::vector<scalar>& signal, double fundamental, double rate) {
    const size_t start = signal.size() / 2;
    const double first = amplitudeAt(signal, fundamental, rate, start);
    double harmonics = 0.0;
    for (int k = 2; k <= 8; ++k) {
        const double a = amplitudeAt(signal, k * fundamental, rate, start);
        harmonics += a * a;
    }
    return std::sqrt(harmonics) / first;
}

double mean(const std::vector<scalar>& signal, size_t start) {
    double sum = 0.0;
    for (size_t i = start; i < signal.size(); ++i) {
        sum += signal[i];
    }
    return sum / static_cast<double>(signal.size() - start);
}

double rms(const std::vector<scalar>& signal, size_t start) {
    double sum = 0.0;
    for (size_t i = start; i < signal.size(); ++i) {
        sum += static_cast<double>(signal[i]) * signal[i];
    }
    return std::sqrt(sum / static_cast<double>(signal.size() - start));
}

void expectFinite(const std::vector<scalar>& signal) {
    for (size_t i = 0; i < signal.size(); ++i) {
        ASSERT_TRUE(std::isfinite(signal[i])) << "sample " << i;
    }
}

TEST(Amplifier, BuiltInDocumentHasItsGraphsOutputsAndControls) {
    auto driver = makeAmplifierDriver();
    EXPECT_EQ(driver->getGraphs()->size(), 16u);
    EXPECT_EQ(driver->getNumberOfOutputs(), 2u);
    ASSERT_EQ(driver->getControls()->size(), 8u);
    EXPECT_EQ((*driver->getControls())[3]->getDisplayName(), "Oversampling");
    EXPECT_EQ(driver->getGraph("out DC block")->getName(), "out DC block");
}

/// The value each target of `control` holds after the control is set to `value`.
std::vector<scalar> targetValues(const std::string& control, float value) {
    auto driver = makeAmplifier();
    for (const auto& candidate : *driver->getControls()) {
        if (candidate->getName() == control) {
            candidate->setValue(value);
            std::vector<scalar> values;
            for (const auto& target : *candidate->getProperties()) {
                values.push_back(target->value);
            }
            return values;
        }
    }
    return {};
}

TEST(Amplifier, ValueMapsTurnKnobPositionsIntoPropertyValues) {
    EXPECT_EQ(targetValues("Gain", 0.25f), std::vector<scalar>(4, 0.2f * 0.25f));
    EXPECT_EQ(targetValues("Gain", 0.75f), std::vector<scalar>(4, (0.75f - 0.5f) * 1.8f + 0.1f));
    EXPECT_EQ(targetValues("Feedback", 1.0f), std::vector<scalar>(4, 1.0f - 0.39f));
    EXPECT_EQ(targetValues("Vol", 0.5f), std::vector<scalar>(2, 0.002f * 0.5f));
    EXPECT_EQ(targetValues("Oversampling", 0.0f), std::vector<scalar>(4, 2.0f));
    EXPECT_EQ(targetValues("Oversampling", 1.0f), std::vector<scalar>(4, 8.0f));
    EXPECT_EQ(targetValues("Oversampling", 0.25f), std::vector<scalar>(4, static_cast<scalar>(std::pow(2.0, 1.5))));
    EXPECT_EQ(targetValues("Cabinet", 0.0f), std::vector<scalar>(2, 1.0f));
    EXPECT_EQ(targetValues("CPU", 1.0f), (std::vector<scalar>{1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f}));
    EXPECT_EQ(targetValues("Input", 0.5f), std::vector<scalar>(2, 1.0f));
    EXPECT_EQ(targetValues("Input", 0.75f), std::vector<scalar>(2, static_cast<scalar>(6.0 * 0.75 - 2.0)));
    EXPECT_EQ(targetValues("Stereo", 1.0f), std::vector<scalar>(7, 0.0f));
}

TEST(Amplifier, EmbeddedTablesAreTheCommittedDataFiles) {
    for (const auto& table : embeddedTables()) {
        const auto path = nodara::testing::sourceDirectory() + "/amp/data/" + std::string(table.name) + ".f32";
        std::ifstream file(path, std::ios::binary);
        std::vector<float> values(table.values.size() + 1);
        file.read(reinterpret_cast<char*>(values.data()), static_cast<std::streamsize>(values.size() * sizeof(float)));
        ASSERT_EQ(static_cast<size_t>(file.gcount()), table.values.size() * sizeof(float)) << table.name;
        values.pop_back();
        EXPECT_TRUE(std::equal(values.begin(), values.end(), table.values.begin())) << table.name;
    }
    EXPECT_EQ(embeddedTable("u87").values.size(), 27776u);
    EXPECT_THROW(embeddedTable("V4"), nodara::InvalidArgumentException);
}

TEST(Amplifier, OutputIsFiniteWithoutDcAndTheTwinStandsBypassed) {
    auto driver = amplifier(48000.0f, 256);
    const auto input = sine(110.0, 48000.0, 48000 * 2, 0.3, 0.2);
    const auto out = render(*driver, input, 256);
    expectFinite(out[0]);
    const size_t settled = 48000;
    EXPECT_GT(rms(out[0], settled), 1e-4);
    EXPECT_LT(std::fabs(mean(out[0], settled)), 0.02 * rms(out[0], settled)) << "no DC";
    EXPECT_EQ(out[1], input) << "with Stereo at 0 the second chain passes its input";
}

TEST(Amplifier, StereoTurnsTheSecondChainOn) {
    auto driver = amplifier(48000.0f, 256, {{"Stereo", 1.0f}});
    const auto input = sine(110.0, 48000.0, 24000, 0.3);
    const auto out = render(*driver, input, 256);
    for (size_t i = 0; i < out[0].size(); ++i) {
        ASSERT_NEAR(out[1][i], out[0][i], 1e-6f) << "twin chains on one signal agree";
    }
}

TEST(Amplifier, SwitchingCpuAndOversamplingWhileRunningStaysFinite) {
    auto driver = amplifier(44100.0f, 128);
    auto& controls = *driver->getControls();
    const auto input = sine(330.0, 44100.0, 128 * 400, 0.5);
    std::vector<scalar> output;
    for (size_t block = 0; block < 400; ++block) {
        if (block == 100) {
            controls[5]->setValue(1.0f);  // CPU: full quality
        } else if (block == 200) {
            controls[3]->setValue(1.0f);  // 8x
        } else if (block == 300) {
            controls[3]->setValue(0.0f);  // 2x
            controls[5]->setValue(0.0f);
        }
        std::vector<scalar> chunk(input.begin() + static_cast<long>(block * 128),
                                  input.begin() + static_cast<long>((block + 1) * 128));
        const auto out = render(*driver, chunk, 128)[0];
        output.insert(output.end(), out.begin(), out.end());
    }
    expectFinite(output);
    EXPECT_DOUBLE_EQ(driver->getMultipliers()[0], 1.0);
    EXPECT_DOUBLE_EQ(driver->getMultipliers()[1], 2.0) << "V1 runs at twice the host rate";
    EXPECT_GT(rms(output, 350 * 128), 1e-4);
}

TEST(Amplifier, TheFullQualityBranchSoundsDifferentlyWhenDriven) {
    const auto input = sine(220.0, 48000.0, 48000, 0.8);
    const auto low = render(*amplifier(48000.0f, 256, {{"Gain", 0.9f}}), input, 256)[0];
    const auto full = render(*amplifier(48000.0f, 256, {{"Gain", 0.9f}, {"CPU", 1.0f}}), input, 256)[0];
    expectFinite(full);
    double difference = 0.0;
    for (size_t i = 24000; i < low.size(); ++i) {
        difference = std::max(difference, static_cast<double>(std::fabs(low[i] - full[i])));
    }
    EXPECT_GT(difference, 1e-4);
}

TEST(Amplifier, HarmonicsRiseWithGain) {
    const auto input = sine(220.0, 48000.0, 48000, 0.5);
    double previous = 0.0;
    for (float gain : {0.1f, 0.5f, 0.9f}) {
        const auto out = render(*amplifier(48000.0f, 256, {{"Gain", gain}, {"Cabinet", 0.0f}}), input, 256)[0];
        const double ratio = harmonicRatio(out, 220.0, 48000.0);
        EXPECT_GT(ratio, previous) << "Gain " << gain;
        previous = ratio;
    }
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

TEST(Amplifier, RunsAtCommonSampleRates) {
    for (float rate : {44100.0f, 48000.0f, 96000.0f, 192000.0f}) {
        const auto input = sine(440.0, rate, static_cast<size_t>(rate / 2), 0.3);
        const auto out = render(*amplifier(rate, 512), input, 512)[0];
        expectFinite(out);
        EXPECT_GT(rms(out, out.size() / 2), 1e-4) << rate;
    }
}

} // namespace
} // namespace torvane
