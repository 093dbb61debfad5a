#include "dsp/BiQuad.h"
#include "dsp/IirDecimator.h"
#include "dsp/IirInterpolator.h"
#include "runtime/DSPContext.h"
#include "runtime/DSPGraph.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

const Properties interpolatorSettings = {{"CornerFrequency", "15000"}, {"Factor", "4"},
                                         {"Order", "2"}, {"Cascade", "4"}, {"Type", "Butterworth"}};
const Properties decimatorSettings = {{"CornerFrequency", "20000"}, {"Factor", "4"},
                                      {"Order", "2"}, {"Cascade", "8"}, {"Type", "Butterworth"}};

template <class T>
std::unique_ptr<T> resampler(const Properties& properties, scalar rate, int32 block) {
    auto element = std::make_unique<T>();
    auto context = std::make_shared<DSPContext>();
    element->init("r", properties, context);
    element->setMaxBlockSize(block);
    element->setSampleRate(rate);
    return element;
}

/// Level in dB, against 0.5, of the component at `frequency` in the second half of `signal`.
double decibels(const std::vector<scalar>& signal, double frequency, double rate) {
    return 20.0 * std::log10(amplitudeAt(signal, frequency, rate, signal.size() / 2) / 0.5);
}

/// Runs `input` through in blocks of `block` frames, each giving `produced` frames.
std::vector<scalar> inBlocks(Filter& element, const std::vector<scalar>& input, size_t block,
                             size_t produced) {
    std::vector<scalar> out;
    for (size_t start = 0; start < input.size(); start += block) {
        element.process(std::vector<scalar*>{const_cast<scalar*>(input.data()) + start}, block);
        out.insert(out.end(), element.getOutput(0), element.getOutput(0) + produced);
    }
    return out;
}

TEST(Oversampling, InterpolationKeepsTheLevelAndRejectsImages) {
    auto up = resampler<IirInterpolator>(interpolatorSettings, 48000.0f, 256);
    const auto output = inBlocks(*up, sine(1000.0, 48000.0, 256 * 40, 0.5), 256, 4 * 256);
    const double rate = 4 * 48000.0;
    EXPECT_NEAR(decibels(output, 1000.0, rate), 0.0, 0.1);
    for (double image : {47000.0, 49000.0, 95000.0}) {
        EXPECT_LT(decibels(output, image, rate), -60.0) << image;
    }
}

TEST(Oversampling, DecimationKeepsThePassBandAndRejectsAliases) {
    const double high = 4 * 48000.0;
    auto down = resampler<IirDecimator>(decimatorSettings, static_cast<scalar>(high), 1024);
    auto run = [&](double frequency) {
        return inBlocks(*down, sine(frequency, high, 1024 * 40, 0.5), 1024, 256);
    };
    EXPECT_NEAR(decibels(run(1000.0), 1000.0, 48000.0), 0.0, 0.1);
    down->reset();
    // 40 kHz folds to 8 kHz at the low rate.
    EXPECT_LT(decibels(run(40000.0), 8000.0, 48000.0), -80.0);
}

TEST(Oversampling, FactorChangesRoundForTheElementAndNotForTheGraph) {
    const std::string settings = "CornerFrequency=\"15000\" Factor=\"2\" Order=\"2\" Type=\"Butterworth\"";
    std::istringstream document(oneGraphSystem(element("IirInterpolator", "I", settings, "Graph"), "I"));
    auto driver = std::make_shared<Driver>();
    driver->init(document);
    auto& interpolator = dynamic_cast<IirInterpolator&>(
        *driver->getGraph("G")->getContext()->getElement("I"));
    interpolator.propertyChanged("Factor", 2.4f);
    EXPECT_EQ(interpolator.getFactor(), 2);
    EXPECT_DOUBLE_EQ(driver->getGraph("G")->getMultiplier(), static_cast<double>(2.4f));
    interpolator.propertyChanged("Factor", 2.5f);
    EXPECT_EQ(interpolator.getFactor(), 3);
}

TEST(Oversampling, FactorSwitchedWhileRunningMovesTheRatesAndKeepsTheSignal) {
    auto driver = driverFor(oversampledChain(), 256);
    auto& control = *(*driver->getControls())[0];
    const auto input = sine(1000.0, 48000.0, 256 * 30, 0.5);
    std::vector<scalar> output;
    for (size_t block = 0; block < 30; ++block) {
        if (block == 10) {
            control.setValue(8.0f);
        } else if (block == 20) {
            control.setValue(4.0f);
        }
        const auto out = runBlocks(*driver, {std::vector<scalar>(input.begin() + block * 256,
                                                                 input.begin() + (block + 1) * 256)},
                                   256)[0];
        ASSERT_EQ(out.size(), 256u);
        output.insert(output.end(), out.begin(), out.end());
        if (block == 10) {
            EXPECT_DOUBLE_EQ(driver->getMultipliers()[1], 8.0);
        }
    }
    EXPECT_DOUBLE_EQ(driver->getMultipliers()[1], 4.0);
    const std::vector<scalar> last(output.end() - 2048, output.end());
    EXPECT_NEAR(decibels(last, 1000.0, 48000.0), 0.0, 0.2);
    EXPECT_TRUE(allFinite(output));
    EXPECT_LT(peak(output), 0.75) << "the switch may click, but not blow up";
}

TEST(Oversampling, SettingsFaultsGiveTheirMessages) {
    auto fault = [](Properties properties, bool decimator = false) {
        return messageOf([&] {
            auto context = std::make_shared<DSPContext>();
            if (decimator) {
                IirDecimator().init("d", properties, context);
            } else {
                IirInterpolator().init("i", properties, context);
            }
        });
    };
    auto without = [](Properties properties, const std::string& key) {
        properties.erase(key);
        return properties;
    };
    auto with = [](Properties properties, const std::string& key, const std::string& value) {
        properties[key] = value;
        return properties;
    };
    const Properties& s = interpolatorSettings;
    EXPECT_EQ(fault(without(s, "CornerFrequency")), "IirInterpolator: CornerFrequency is not defined");
    EXPECT_EQ(fault(with(s, "CornerFrequency", "-1")),
              "IirInterpolator: cornerFrequency must be greater than 0. CornerFrequency=-1");
    EXPECT_EQ(fault(without(s, "Type"), true), "IirDecimator: Type must be specified");
    EXPECT_EQ(fault(with(s, "Type", "Elliptic"), true), "IirDecimator: Unknown Type: Elliptic");
    EXPECT_EQ(fault(without(s, "Order")), "IirInterpolator: Order must be specified");
    EXPECT_EQ(fault(with(s, "Order", "0")), "IirInterpolator: Order must be greater than zero. Order=0");
    EXPECT_EQ(fault(without(s, "Factor"), true), "IirDecimator: Factor must be specified");
    EXPECT_EQ(fault(with(s, "Factor", "0"), true), "IirDecimator: Factor must be greater than 0. Factor=0");
    EXPECT_EQ(fault(with(s, "Cascade", "1")), "IirInterpolator: Cascade must be greater than 1. Cascade=1");
    EXPECT_EQ(initError(oversampledChain("BiQuad")), "<no exception>") << "BiQuad passes init";
    EXPECT_EQ(messageOf([] { driverFor(oversampledChain("BiQuad")); }),
              "IirInterpolator: BiQuads are not yet supported!");
}

TEST(Oversampling, HighCornersKeepThePreviousDesign) {
    auto up = resampler<IirInterpolator>({{"CornerFrequency", "15000"}, {"Factor", "2"},
                                          {"Order", "2"}, {"Type", "Butterworth"}},
                                         44100.0f, 16);
    auto& stage = dynamic_cast<BiQuad&>(*up->getStages()[0]);
    const auto designed = stage.getB();
    EXPECT_NE(designed[0], 0.0f);
    up->setSampleRate(15000.0f);
    EXPECT_EQ(stage.getB(), designed) << "15000 / 15000 / 2 = 0.5: no new design";
    auto silent = resampler<IirInterpolator>({{"CornerFrequency", "15000"}, {"Factor", "1"},
                                              {"Order", "2"}, {"Type", "Butterworth"}},
                                             20000.0f, 16);
    EXPECT_EQ(dynamic_cast<BiQuad&>(*silent->getStages()[0]).getB()[0], 0.0f)
        << "never designed: the stages stay silent";
}

TEST(Oversampling, UnsupportedFormsNameTheirClass) {
    auto up = resampler<IirInterpolator>(interpolatorSettings, 48000.0f, 16);
    EXPECT_EQ(messageOf([&] { up->process(1.0f); }), "IirInterpolator: process(scalar in) is not supported.");
    EXPECT_EQ(messageOf([&] { up->getOutput(1); }), "Iir: Invalid output index: 1");
    EXPECT_EQ(messageOf([&] { up->propertyChanged("Order", 1.0f); }), "IirInterpolator: Unknown property Order");
    auto down = resampler<IirDecimator>(decimatorSettings, 192000.0f, 16);
    EXPECT_EQ(messageOf([&] { down->iteration(nullptr, 0, 0); }), "IirDecimator: Iteration is not supported.");
    std::vector<scalar> block(17);
    const std::vector<scalar*> inputs = {block.data()};
    EXPECT_EQ(messageOf([&] { down->process(inputs, 17); }),
              "IirDecimator: framesPerBuffer (17) is greater than maxBlockSize (16).");
    auto context = std::make_shared<DSPContext>();
    EXPECT_EQ(messageOf([&] { up->init("x", context); }),
              "IirDecimator: init(const std::string &name, std::shared_ptr<DSPContext> &context) is "
              "not supported.");
}

} // namespace
} // namespace nodara::testing
