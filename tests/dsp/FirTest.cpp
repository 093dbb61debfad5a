#include "dsp/fir/Fir.h"
#include "dsp/resampling/polyphase/KaiserDesign.h"
#include "dsp/resampling/polyphase/PolyphaseDownsampler.h"
#include "dsp/resampling/polyphase/PolyphaseUpsampler.h"
#include "dsp/resampling/polyphase/ResamplingDecimator.h"
#include "dsp/resampling/polyphase/ResamplingUpsampler.h"
#include "support/Documents.h"

#include "dsp/ConvolutionReference.h"
#include "support/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <numbers>

namespace nodara::testing {
namespace {

using namespace failurecheck;
using reference::run;

std::string list(const std::vector<scalar>& values) {
    std::string text;
    for (scalar v : values) {
        text += (text.empty() ? "" : "|") + concat(v);
    }
    return text;
}

template <class T>
std::unique_ptr<T> withTaps(const std::string& settings, const std::vector<scalar>& taps,
                            int32 block) {
    return made<T>(settings + " Coefficients=" + list(taps), "f", block);
}

std::vector<scalar> stuffed(const std::vector<scalar>& x, size_t factor) {
    std::vector<scalar> y(x.size() * factor, 0.0f);
    for (size_t i = 0; i < x.size(); ++i) {
        y[i * factor] = x[i];
    }
    return y;
}

TEST(Fir, MatchesDirectConvolutionInAnyBlocksAndIterationsBitForBit) {
    const auto x = noise(700, 3);
    for (size_t count : {1, 3, 5, 255, 256}) {
        SCOPED_TRACE(count);
        const auto h = noise(count, 10 + unsigned(count));
        auto fir = withTaps<Fir>("", h, 64);
        const auto y = run(*fir, x, {64});
        EXPECT_TRUE(reference::matches(y, x, h));
        fir->reset();
        EXPECT_EQ(run(*fir, x, {1, 7, 3, 64, 13}), y)
            << "the order of additions is fixed";
        fir->reset();
        auto value = std::make_shared<std::vector<scalar>>(1);
        for (size_t i = 0; i < 70; ++i) {
            (*value)[0] = x[i];
            fir->iteration(value, i % 64, 0);
            fir->endIteration(i % 64);
            ASSERT_EQ(fir->getOutput(0)[i % 64], y[i]) << i;
        }
    }
}

// The history keeps as many frames as the taps in use need: longer taps see the frames kept
// and silence before them until their window has filled; shorter ones keep the newest.
TEST(Fir, NewTapsWorkOnTheKeptPastAndResetForgetsIt) {
    const auto x = noise(900, 4);
    const auto shortTaps = noise(5, 5), longTaps = noise(255, 6);
    auto fir = withTaps<Fir>("", shortTaps, 32);
    run(*fir, x, {32}, {}, 0, 160);
    for (auto [taps, from, to, settled] :
         {std::tuple{&longTaps, 160, 600, 248}, {&shortTaps, 600, 900, 0}}) {
        fir->propertyChanged("Coefficients", std::make_shared<std::vector<scalar>>(*taps));
        const auto y = run(*fir, x, {32}, {}, size_t(from), size_t(to));
        const auto expected = reference::convolve(x, *taps);
        for (size_t i = size_t(settled); i < y.size(); ++i) {
            ASSERT_NEAR(y[i], expected[size_t(from) + i], reference::tolerance(*taps)) << i;
        }
    }
    fir->reset();
    EXPECT_TRUE(reference::matches(run(*fir, x, {32}), x, shortTaps));
}

// Zero insertion and a plain convolution, worked out apart.
TEST(Polyphase, UpsamplerIsZeroInsertionThenTheFilter) {
    const auto x = noise(200, 7);
    for (auto [factor, count] : {std::pair{1, 256}, {2, 7}, {3, 255}, {4, 64}, {5, 1}, {8, 100}}) {
        SCOPED_TRACE(concat(factor, " ", count));
        const auto h = noise(size_t(count), 20 + unsigned(count));
        auto up = withTaps<PolyphaseUpsampler>(concat("Factor=", factor), h, 32);
        const auto out = [f = size_t(factor)](size_t n) { return f * n; };
        const auto y = run(*up, x, {32, 5, 1, 17}, out);
        const auto z = stuffed(x, size_t(factor));
        EXPECT_TRUE(reference::matches(y, z, h));
    }
}

TEST(Polyphase, DownsamplerKeepsTheFirstFrameOfEachStepBitForBit) {
    const auto x = noise(600, 8);
    for (auto [factor, count, block] :
         {std::tuple{2, 255, 64}, {3, 5, 30}, {4, 256, 64}, {4, 1, 7}}) {
        SCOPED_TRACE(concat(factor, " ", count, " ", block));
        const auto h = noise(size_t(count), 40 + unsigned(count));
        auto down = withTaps<PolyphaseDownsampler>(concat("Factor=", factor), h, 64);
        const auto step = size_t(factor);
        const auto y =
            run(*down, x, {size_t(block)}, [&](size_t n) { return (n + step - 1) / step; });
        auto fir = withTaps<Fir>("", h, 64);
        const auto full = run(*fir, x, {size_t(block)});
        std::vector<scalar> kept;
        for (size_t at = 0; at < full.size(); at += size_t(block)) {
            for (size_t i = 0; i < size_t(block) && at + i < full.size(); i += step) {
                kept.push_back(full[at + i]);
            }
        }
        EXPECT_EQ(y, kept);
    }
}

/// Kaiser's design in double precision, I0 from its power series.
std::vector<double> kaiserReference(double attenuation, int count, double fc) {
    const double a = attenuation;
    const double beta = a >= 50  ? 0.1102 * (a - 8.7)
                        : a > 21 ? 0.5842 * std::pow(a - 21, 0.4) + 0.07886 * (a - 21)
                                 : 0.0;
    const auto i0 = [](double x) {
        double sum = 1.0, term = 1.0;
        for (int k = 1; k < 60; ++k) {
            term *= (x / 2 / k) * (x / 2 / k);
            sum += term;
        }
        return sum;
    };
    std::vector<double> taps(static_cast<size_t>(count));
    double total = 0.0;
    for (int j = 0; j < count; ++j) {
        const double k = j - (count - 1) / 2.0;
        const double ideal =
            k == 0 ? 2 * fc : std::sin(2 * std::numbers::pi * fc * k) / (std::numbers::pi * k);
        const double r = count > 1 ? 2 * k / (count - 1) : 0.0;
        taps[size_t(j)] = ideal * i0(beta * std::sqrt(1 - r * r)) / i0(beta);
        total += taps[size_t(j)];
    }
    for (double& tap : taps) {
        tap /= total;
    }
    return taps;
}

TEST(Kaiser, TapsMatchAnIndependentComputationAcrossTheRanges) {
    for (auto [attenuation, count, fc] : {std::tuple{21.0f, 31, 0.1f},
                                          {50.0f, 32, 0.125f},
                                          {49.9f, 33, 0.2f},
                                          {21.5f, 64, 0.05f},
                                          {80.0f, 255, 0.104f},
                                          {120.0f, 128, 0.3f},
                                          {60.0f, 1, 0.25f}}) {
        SCOPED_TRACE(concat(attenuation, " dB ", count, " taps fc ", fc));
        const auto taps = kaiserLowPass(attenuation, count, fc);
        const auto expected = kaiserReference(attenuation, count, fc);
        ASSERT_EQ(taps.size(), expected.size());
        for (size_t j = 0; j < taps.size(); ++j) {
            EXPECT_NEAR(taps[j], expected[j], 2e-6) << j;
        }
    }
    EXPECT_EQ(kaiserBeta(21.0f), 0.0f) << "21 dB: a rectangular window";
    EXPECT_FLOAT_EQ(kaiserBeta(50.0f), 0.1102f * 41.3f) << "50 dB takes the first formula";
}

/// The level in dB, against 0.5, of `frequency` in the second half of `signal`.
double decibels(const std::vector<scalar>& signal, double frequency, double rate) {
    return 20.0 * std::log10(amplitudeAt(signal, frequency, rate, signal.size() / 2) / 0.5);
}

// The designed pair by 4 at 48 kHz, 128 taps, 80 dB, corner 20 kHz.
TEST(Kaiser, DesignedPairKeepsThePassBandAndStopsImagesAndAliases) {
    const std::string design = "Factor=4 Order=128 Attenuation=80 AbsoluteCornerFrequency=20000";
    auto up = made<ResamplingUpsampler>(design, "up", 256);
    auto down = made<ResamplingDecimator>(design, "down", 1024);
    up->setSampleRate(48000.0f);
    down->setSampleRate(192000.0f);
    const auto four = [](size_t n) { return 4 * n; };
    const auto quarter = [](size_t n) { return n / 4; };
    const auto high = run(*up, sine(1000.0, 48000.0, 256 * 40, 0.5), {256}, four);
    EXPECT_NEAR(decibels(high, 1000.0, 192000.0), 0.0, 0.01);
    for (double image : {47000.0, 49000.0, 95000.0, 97000.0}) {
        EXPECT_LT(decibels(high, image, 192000.0), -78.0) << image;
    }
    EXPECT_NEAR(decibels(run(*down, high, {1024}, quarter), 1000.0, 48000.0), 0.0, 0.01);
    for (auto [tone, alias] :
         {std::pair{40000.0, 8000.0}, {30000.0, 18000.0}, {70000.0, 22000.0}}) {
        down->reset();
        const auto low = run(*down, sine(tone, 192000.0, 1024 * 40, 0.5), {1024}, quarter);
        EXPECT_LT(decibels(low, alias, 48000.0), -78.0) << tone;
    }
}

/// "Up" raises the rate by `factor` with `up`, "Down" lowers it with `down`; a control
/// "Oversampling" sets both factors.
std::string polyphaseChain(const std::string& up, const std::string& down, int factor,
                           const std::string& upSettings, const std::string& downSettings) {
    const std::string f = concat(factor);
    return systemOf(
        graphOf("Up", "System", "Multiplier='" + f + "'", up, "Factor='" + f + "' " + upSettings) +
            graphOf("Down", "Up",
                    "Multiplier='" + concat(std::setprecision(17), 1.0 / factor) + "'", down,
                    "Factor='" + f + "' " + downSettings),
        "Down",
        "<Controls><Control Name='Oversampling' DisplayName='Oversampling' Value='" + f +
            "'><Properties><Property Name='Factor' Graph='Up' Element='R'/><Property "
            "Name='Factor' Graph='Down' Element='R'/></Properties></Control></Controls>");
}

TEST(Polyphase, PairBetweenGraphsIsZeroInsertionFilterFilterDecimationInAnyBlocks) {
    const auto x = noise(500, 11);
    const auto hUp = noise(30, 12), hDown = noise(41, 13);
    const std::string document =
        polyphaseChain("PolyphaseUpsampler", "PolyphaseDownsampler", 3,
                       "Coefficients='" + list(hUp) + "'", "Coefficients='" + list(hDown) + "'");
    const auto high = reference::convolve(stuffed(x, 3), hUp);
    std::vector<double> expected;
    for (size_t i = 0; i < high.size(); ++i) {
        double sum = 0.0;
        for (size_t k = 0; k < hDown.size() && k <= i; ++k) {
            sum += hDown[k] * high[i - k];
        }
        if (i % 3 == 0) {
            expected.push_back(sum);
        }
    }
    std::vector<scalar> first;
    for (size_t block : {1, 37, 256}) {
        auto driver = driverFor(document, 256);
        const auto y = runBlocks(*driver, {x}, block)[0];
        EXPECT_LT(reference::maxError(y, expected), 2e-5) << block;
        EXPECT_EQ(y, first.empty() ? (first = y) : first) << block;
    }
}

TEST(Polyphase, FactorOnAControlMovesTheRatesAndRedesigns) {
    const std::string design = "Order='128' Attenuation='80' AbsoluteCornerFrequency='20000'";
    auto driver = driverFor(
        polyphaseChain("ResamplingUpsampler", "ResamplingDecimator", 4, design, design), 128);
    auto& control = *(*driver->getControls())[0];
    const auto x = sine(1000.0, 48000.0, 128 * 90, 0.5);
    std::vector<scalar> y;
    for (size_t block = 0; block < 90; ++block) {
        if (block % 30 == 0) {
            control.setValue(block == 0 ? 8.0f : block == 30 ? 2.0f : 4.0f);
        }
        const auto first = x.begin() + long(block * 128);
        const auto out = runBlocks(*driver, {{first, first + 128}}, 128)[0];
        y.insert(y.end(), out.begin(), out.end());
        if (block % 30 == 0) {
            EXPECT_DOUBLE_EQ(driver->getMultipliers()[1], block == 0    ? 8.0
                                                          : block == 30 ? 2.0
                                                                        : 4.0);
        }
        if (block % 30 == 29) {
            const std::vector<scalar> settled(y.end() - 48 * 48, y.end());
            EXPECT_NEAR(decibels(settled, 1000.0, 48000.0), 0.0, 0.01) << block;
        }
    }
}

TEST(Polyphase, FaultsGiveTheirClassAndMessage) {
    auto fir = made<Fir>("", "f", 16);
    auto upsampler = made<PolyphaseUpsampler>("Factor=3", "u", 16);
    auto downsampler = made<PolyphaseDownsampler>("Factor=2", "d", 16);
    const std::vector<scalar> taps(257, 0.1f);
    const auto noBuffer = [] {
        auto unsized = made<Fir>("Coefficients=1|2");
        std::vector<scalar> block(4);
        unsized->process(block.data(), block.data(), 4);
    };
    const auto up = [](const std::string& settings) {
        return [settings] { made<ResamplingUpsampler>(settings); };
    };
    const auto down = [](const std::string& settings) {
        return [settings] { made<ResamplingDecimator>(settings); };
    };
    const std::string corner = " AbsoluteCornerFrequency=20000";
    expectFailures({
        {[&] { fir->setMaxBlockSize(0); }, plain, "Fir: Invalid maxBlockSize0"},
        {noBuffer, plain, "Failed to allocate memory for FIR buffer"},
        {[&] { fir->setCoefficients(nullptr, 3); }, plain, "Fir: b cannot be null"},
        {[&] { upsampler->setCoefficients(nullptr, 3); }, plain,
         "PolyphaseUpsampler: b cannot be null"},
        {[&] { upsampler->setCoefficients(taps.data(), 0); }, plain,
         "PolyphaseUpsampler: Size of filter coefficients must be greater than zero."},
        {[&] { fir->setCoefficients(taps.data(), 257); }, plain,
         "Maximum filter order is 256. You requested: 257"},
        {[&] { upsampler->setCoefficients(taps.data(), 256); }, plain,
         "PolyphaseUpsampler: Maximum filter order is 256. You requested: 258"},
        {[&] { fir->propertyChanged("Taps", std::make_shared<std::vector<scalar>>()); }, invalid,
         "Fir: Invalid property name Taps"},
        {[&] { downsampler->getOutput(1); }, invalid, "Fir: Invalid output index: 1"},
        {[] { made<PolyphaseUpsampler>("", "u"); }, plain,
         "Factor is not defined. PolyphaseUpsampler name=u"},
        {[] { made<PolyphaseDownsampler>("Factor=-1", "d"); }, invalid,
         "Factor must be greater than 0. PolyphaseDownsampler name=d"},
        {[&] { upsampler->iteration(nullptr, 0, 0); }, unsupported,
         "PolyphaseUpsampler: Iteration is not supported."},
        {[&] { downsampler->iteration(nullptr, 0, 0); }, unsupported,
         "PolyphaseDownsampler: Iteration is not supported."},
        {[&] { upsampler->getLastIterationResults(); }, unsupported,
         "PolyphaseUpsampler: getLastIterationResults is not supported."},
        {[&] { downsampler->getLastIterationResults(); }, unsupported,
         "PolyphaseDownsampler: getLastIterationResult is not supported."},
        {up("Order=8 Attenuation=60" + corner), invalid,
         "ResamplingUpsampler: Factor must be specified"},
        {down("Factor=0 Order=8 Attenuation=60" + corner), invalid,
         "ResamplingDecimator: Factor must be greater than 0. Factor=0"},
        {up("Factor=2 Attenuation=60" + corner), invalid,
         "ResamplingUpsampler: Order must be specified"},
        {down("Factor=2 Order=0 Attenuation=60" + corner), invalid,
         "ResamplingDecimator: Order must be greater than zero. Order=0"},
        {up("Factor=2 Order=257 Attenuation=60" + corner), invalid,
         "ResamplingUpsampler: Order must be at most 256. Order=257"},
        {up("Factor=2 Order=8" + corner), invalid,
         "ResamplingUpsampler: Attenuation must be specified"},
        {down("Factor=2 Order=8 Attenuation=1" + corner), invalid,
         "ResamplingDecimator: Attenuation must be greater than 1. Attenuation=1"},
        {up("Factor=2 Order=8 Attenuation=0.5" + corner), invalid,
         "ResamplingUpsampler: Attenuation must be greater than 1. Attenuation=0.5"},
        {down("Factor=2 Order=8 Attenuation=60 RelativeCornerFrequency=0.2" + corner), invalid,
         "ResamplingDecimator: RelativeCornerFrequency and AbsoluteCornerFrequency are defined. "
         "Only one is allowed."},
        {up("Factor=2 Order=8 Attenuation=60"), invalid,
         "ResamplingUpsampler: Either RelativeCornerFrequency or AbsoluteCornerFrequency must be "
         "specified."},
        {down("Factor=2 Order=8 Attenuation=60 RelativeCornerFrequency=1"), invalid,
         "ResamplingDecimator: RelativeCornerFrequency must be between 0 and 1. "
         "RelativeCornerFrequency=1"},
        {up("Factor=2 Order=8 Attenuation=60 AbsoluteCornerFrequency=-100"), invalid,
         "ResamplingUpsampler: AbsoluteCornerFrequency must be greater than 0. "
         "AbsoluteCornerFrequency=-100"},
    });
    std::vector<scalar> block(17);
    EXPECT_EQ(messageOf([&] { fir->process(block.data(), block.data(), 17); }),
              "Fir: framesPerBuffer (17) is greater than maxBlockSize (16).");
}

} // namespace
} // namespace nodara::testing
