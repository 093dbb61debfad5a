#include "dsp/recursive/BiQuad.h"
#include "dsp/resampling/IirDecimator.h"
#include "dsp/resampling/IirInterpolator.h"
#include "runtime/DSPGraph.h"
#include "support/Documents.h"
#include "support/Signals.h"

#include "dsp/ConvolutionReference.h"
#include "support/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nodara::testing {
namespace {

using namespace failurecheck;
using reference::run;

const std::string interpolatorSettings = "CornerFrequency=15000 Order=2 Type=Butterworth Cascade=4";
const std::string decimatorSettings = "CornerFrequency=20000 Order=2 Type=Butterworth Cascade=8";

template <class T>
std::unique_ptr<T> resampler(const std::string& properties, scalar rate, int32 block) {
    auto element = made<T>(properties, "r", block);
    element->setSampleRate(rate);
    return element;
}

/// Level in dB, against 0.5, of the component at `frequency` in the second half of `signal`.
double decibels(const std::vector<scalar>& signal, double frequency, double rate) {
    return 20.0 * std::log10(amplitudeAt(signal, frequency, rate, signal.size() / 2) / 0.5);
}

TEST(Oversampling, InterpolationKeepsTheLevelAndRejectsImages) {
    auto up = resampler<IirInterpolator>(interpolatorSettings + " Factor=4", 48000.0f, 256);
    const auto four = [](size_t n) { return 4 * n; };
    const auto output = run(*up, sine(1000.0, 48000.0, 256 * 40, 0.5), {256}, four);
    EXPECT_NEAR(decibels(output, 1000.0, 4 * 48000.0), 0.0, 0.1);
    for (double image : {47000.0, 49000.0, 95000.0}) {
        EXPECT_LT(decibels(output, image, 4 * 48000.0), -60.0) << image;
    }
}

TEST(Oversampling, DecimationKeepsThePassBandAndRejectsAliases) {
    const double high = 4 * 48000.0;
    auto down = resampler<IirDecimator>(decimatorSettings + " Factor=4", scalar(high), 1024);
    const auto quarter = [](size_t n) { return n / 4; };
    auto decimated = [&](double frequency) {
        return run(*down, sine(frequency, high, 1024 * 40, 0.5), {1024}, quarter);
    };
    EXPECT_NEAR(decibels(decimated(1000.0), 1000.0, 48000.0), 0.0, 0.1);
    down->reset();
    // 40 kHz folds to 8 kHz at the low rate.
    EXPECT_LT(decibels(decimated(40000.0), 8000.0, 48000.0), -80.0);
}

/// The stages of `element` as separate BiQuads with its coefficients, from rest.
std::vector<std::unique_ptr<BiQuad>> separateStages(const IirResampler& element, int32 block) {
    std::vector<std::unique_ptr<BiQuad>> chain;
    for (const auto& stage : element.getStages()) {
        const auto& designed = dynamic_cast<const BiQuad&>(*stage);
        chain.push_back(made<BiQuad>("A=0|0 B=0|0|0", "s", block));
        chain.back()->setCoefficients(designed.getA().data(), designed.getB().data());
    }
    return chain;
}

void runStages(std::vector<std::unique_ptr<BiQuad>>& chain, std::vector<scalar>& signal) {
    std::vector<scalar> out(signal.size());
    for (auto& stage : chain) {
        stage->process(signal.data(), out.data(), signal.size());
        signal.swap(out);
    }
}

// The cascades run their stages side by side in vector lanes: the bits must be those of the
// stages one after another, for blocks shorter and longer than the lanes' pipeline.
TEST(Oversampling, StagesInLanesGiveTheBitsOfTheStagesOneAfterAnother) {
    const std::vector<size_t> blocks = {1, 7, 300, 64, 2, 123};
    auto up = resampler<IirInterpolator>(interpolatorSettings + " Factor=4", 48000.0f, 300);
    auto down = resampler<IirDecimator>(decimatorSettings + " Factor=4", 192000.0f, 1200);
    auto upStages = separateStages(*up, 1200);
    auto downStages = separateStages(*down, 1200);
    const auto input = noise(2000, 9);
    for (size_t at = 0, b = 0; at + blocks[b % blocks.size()] <= input.size();
         at += blocks[b++ % blocks.size()]) {
        const size_t n = blocks[b % blocks.size()];
        up->process(std::vector<scalar*>{const_cast<scalar*>(input.data() + at)}, n);
        std::vector<scalar> stuffed(4 * n, 0.0f);
        for (size_t i = 0; i < n; ++i) {
            stuffed[4 * i] = input[at + i];
        }
        runStages(upStages, stuffed);
        ASSERT_EQ(std::vector<scalar>(up->getOutput(0), up->getOutput(0) + 4 * n), stuffed);

        down->process(std::vector<scalar*>{stuffed.data()}, 4 * n);
        runStages(downStages, stuffed);
        for (size_t i = 0; i < n; ++i) {
            ASSERT_EQ(down->getOutput(0)[i], stuffed[4 * i]) << "at " << at + i;
        }
    }
}

// The graph's rate must follow the frames the element makes: both take the rounded factor.
TEST(Oversampling, FactorChangesRoundForTheElementAndTheGraphAlike) {
    const std::string iir = "CornerFrequency='15000' Factor='2' Order='2' Type='Butterworth'";
    const std::pair<std::string, std::string> resamplers[] = {{"IirInterpolator", iir},
                                                              {"IirDecimator", iir},
                                                              {"PolyphaseUpsampler", "Factor='2'"},
                                                              {"PolyphaseDownsampler", "Factor='2'"}};
    for (const auto& [type, settings] : resamplers) {
        auto driver = driverFor(oneGraphSystem(element(type, "I", settings, "Graph"), "I"));
        Graph& graph = *driver->getGraph("G");
        auto& resampler = dynamic_cast<Filter&>(*graph.getContext()->getElement("I"));
        const bool up = type.find("Up") != std::string::npos || type == "IirInterpolator";
        const auto factorOfGraph = [&] {
            return up ? graph.getMultiplier() : 1.0 / graph.getMultiplier();
        };
        resampler.propertyChanged("Factor", 2.4f);
        EXPECT_DOUBLE_EQ(factorOfGraph(), 2.0) << type;
        resampler.propertyChanged("Factor", 2.5f);
        EXPECT_DOUBLE_EQ(factorOfGraph(), 3.0) << type;
        for (float refused : {17.0f, 1e30f, NAN}) {
            EXPECT_THROW(resampler.propertyChanged("Factor", refused), InvalidArgumentException)
                << type << " at " << refused;
        }
    }
}

// A knob between its positions, or a document factor such as 3, must give a clean sound: the
// rates of the graphs between the two elements follow the whole factor. Each value is switched
// to while the chain runs: the switch may click, but not blow up.
TEST(Oversampling, EveryFactorValueSwitchedWhileRunningMovesTheRatesAndKeepsTheSignal) {
    auto driver = driverFor(oversampledChain(), 256);
    auto& control = *(*driver->getControls())[0];
    const auto input = sine(1000.0, 48000.0, 256 * 12, 0.5);
    for (float value = 1.0f; value <= 8.5f; value += 0.25f) {
        control.setValue(value);
        const auto out = runBlocks(*driver, {input}, 256)[0];
        ASSERT_EQ(driver->getMultipliers()[1], double(std::lround(value))) << "Factor " << value;
        ASSERT_LT(peak(out), 0.75) << "Factor " << value;
        const std::vector<scalar> last(out.end() - 2048, out.end());
        ASSERT_NEAR(decibels(last, 1000.0, 48000.0), 0.0, 0.2) << "Factor " << value;
    }
}

TEST(Oversampling, SettingsFaultsGiveTheirClassAndMessage) {
    // A full set of settings with one replaced ("Key=value") or left out ("Key").
    const auto changed = [](const std::string& change) {
        Properties p = props("CornerFrequency=15000 Factor=4 Order=2 Cascade=4 Type=Butterworth");
        p.erase(change.substr(0, change.find('=')));
        p.merge(props(change.find('=') == std::string::npos ? "" : change));
        return p;
    };
    const auto up = [&](const std::string& change) {
        return [p = changed(change)] { made<IirInterpolator>(p, "i"); };
    };
    const auto down = [&](const std::string& change) {
        return [p = changed(change)] { made<IirDecimator>(p, "d"); };
    };
    expectFailures({
        {up("CornerFrequency"), plain, "IirInterpolator: CornerFrequency is not defined"},
        {up("CornerFrequency=-1"), invalid,
         "IirInterpolator: cornerFrequency must be greater than 0. CornerFrequency=-1"},
        {down("Type"), plain, "IirDecimator: Type must be specified"},
        {down("Type=Elliptic"), invalid, "IirDecimator: Unknown Type: Elliptic"},
        {up("Order"), plain, "IirInterpolator: Order must be specified"},
        {up("Order=0"), invalid, "IirInterpolator: Order must be greater than zero. Order=0"},
        {down("Factor"), plain, "IirDecimator: Factor must be specified"},
        {down("Factor=0"), invalid, "IirDecimator: Factor must be greater than 0. Factor=0"},
        {up("Cascade=1"), invalid, "IirInterpolator: Cascade must be greater than 1. Cascade=1"},
        {[] { driverFor(oversampledChain("BiQuad")); }, invalid,
         "IirInterpolator: BiQuads are not yet supported!"},
    });
    EXPECT_EQ(initError(oversampledChain("BiQuad")), "<no exception>") << "BiQuad passes init";
}

TEST(Oversampling, HighCornersKeepThePreviousDesign) {
    const std::string settings = "CornerFrequency=15000 Order=2 Type=Butterworth Factor=";
    auto up = resampler<IirInterpolator>(settings + "2", 44100.0f, 16);
    auto& stage = dynamic_cast<BiQuad&>(*up->getStages()[0]);
    const auto designed = stage.getB();
    EXPECT_NE(designed[0], 0.0f);
    up->setSampleRate(15000.0f);
    EXPECT_EQ(stage.getB(), designed) << "15000 / 15000 / 2 = 0.5: no new design";
    auto silent = resampler<IirInterpolator>(settings + "1", 20000.0f, 16);
    EXPECT_EQ(dynamic_cast<BiQuad&>(*silent->getStages()[0]).getB()[0], 0.0f)
        << "never designed: the stages stay silent";
}

// Several texts name the other class, or Iir: they stand as they are.
TEST(Oversampling, RunTimeFaultsGiveTheirClassAndMessage) {
    auto up = resampler<IirInterpolator>(interpolatorSettings + " Factor=4", 48000.0f, 16);
    auto down = resampler<IirDecimator>(decimatorSettings + " Factor=4", 192000.0f, 16);
    std::vector<scalar> block(17);
    const std::vector<scalar*> inputs = {block.data()};
    // Last in the table: the element keeps the factor 0.
    const auto withoutFactor = [](Filter& element) {
        return [&element, silence = std::vector<scalar*>{nullptr}] {
            element.propertyChanged("Factor", 0.4f);
            element.process(silence, 1);
        };
    };
    expectFailures({
        {[&] { up->process(inputs, 17); }, plain,
         "IirInterpolator: framesPerBuffer (68) is greater than maxBlockSize (64)."},
        {[&] { down->process(inputs, 17); }, plain,
         "IirDecimator: framesPerBuffer (17) is greater than maxBlockSize (16)."},
        {[&] { up->setMaxBlockSize(0); }, plain, "IirInterpolator: Invalid maxBlockSize0"},
        {[&] { down->setMaxBlockSize(-1); }, plain, "IirDecimator: Invalid maxBlockSize-1"},
        {[&] { down->getOutput(1); }, invalid, "Iir: Invalid output index: 1"},
        {[&] { down->propertyChanged("Order", 1.0f); }, invalid,
         "IirInterpolator: Unknown property Order"},
        {[&] { up->process(1.0f); }, unsupported,
         "IirInterpolator: process(scalar in) is not supported."},
        {[&] { down->process(block.data(), 4); }, unsupported,
         "IirDecimator: process(scalar* in, size_t framesPerBuffer) is not supported."},
        {[&] { up->process(block.data(), block.data(), 4); }, unsupported,
         "IirInterpolator: process(const scalar* in, scalar* out, size_t framesPerBuffer) is not "
         "supported."},
        {[&] { down->iteration(nullptr, 0, 0); }, unsupported,
         "IirDecimator: Iteration is not supported."},
        {[&] { up->getLastIterationResults(); }, unsupported,
         "IirInterpolator: getLastIterationResults is not supported."},
        {withoutFactor(*down), plain, "IirInterpolator: Invalid factor 0"},
    });
}

} // namespace
} // namespace nodara::testing
