#include "support/Signals.h"
#include "support/Tool.h"
#include "tools/generators/TableFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace nodara::testing {
namespace {

constexpr double sampleRate = 44100.0;
constexpr double stepsPerUnit = 32768.0;

std::filesystem::path committedFile() { return sourceDirectory() + "/amp/data/u87.f32"; }

const std::vector<float>& committed() {
    static const std::vector<float> values = torvane::generators::readFloat32File(committedFile());
    return values;
}

/// |Σ h[n]·e^(−j2πfn/fs)|², by a direct sum in double.
double power(const std::vector<float>& h, double hertz) {
    return std::norm(response(std::vector<float>{}, h, hertz / sampleRate));
}

double decibels(double power) { return 10.0 * std::log10(power); }

/// The powers at `count` frequencies from `low` upwards in steps of 1/48 octave.
std::vector<double> powers(const std::vector<float>& h, double low, int count) {
    std::vector<double> values;
    for (int k = 0; k < count; ++k) {
        values.push_back(power(h, low * std::exp2(k / 48.0)));
    }
    return values;
}

/// Mean power over [low, high] on a 1/48-octave grid, in dB.
double bandLevel(const std::vector<float>& h, double low, double high) {
    const auto levels = powers(h, low, 1 + int(48.0 * std::log2(high / low)));
    return decibels(std::accumulate(levels.begin(), levels.end(), 0.0) / double(levels.size()));
}

/// Separate stretches of 1–5 kHz where the response departs from its third-octave average
/// (power over ±1/6 octave) by `threshold` dB or more.
int rippleExcursions(const std::vector<float>& h, double threshold) {
    constexpr int halfWindow = 8;
    const int steps = int(48.0 * std::log2(5.0)) + 2 * halfWindow + 1;
    const auto levels = powers(h, 1000.0 * std::exp2(-halfWindow / 48.0), steps);
    int excursions = 0;
    bool inside = false;
    for (size_t i = halfWindow; i + halfWindow < levels.size(); ++i) {
        double window = 0.0;
        for (size_t k = i - halfWindow; k <= i + halfWindow; ++k) {
            window += levels[k];
        }
        const double departure = decibels(levels[i]) - decibels(window / (2 * halfWindow + 1));
        const bool large = std::fabs(departure) >= threshold;
        excursions += large && !inside;
        inside = large;
    }
    return excursions;
}

TEST(CabinetResponse, HasTheStoredForm) {
    const auto& h = committed();
    ASSERT_EQ(h.size(), 27776u);
    for (size_t n = 0; n < h.size(); ++n) {
        const double steps = double(h[n]) * stepsPerUnit;
        ASSERT_EQ(steps, std::round(steps)) << "sample " << n << " is not a whole step";
    }
    const auto largest = std::max_element(h.begin(), h.end(), [](float x, float y) {
        return std::fabs(x) < std::fabs(y);
    });
    EXPECT_EQ(largest - h.begin(), 973) << "the first peak";
    EXPECT_EQ(*largest, 32766.0f / 32768.0f);
    double early = 0.0, total = 0.0;
    for (size_t n = 0; n < h.size(); ++n) {
        total += double(h[n]) * h[n];
        early += n < 2048 ? double(h[n]) * h[n] : 0.0;
    }
    EXPECT_GE(early / total, 0.999);
    const auto lastNonZero = std::find_if(h.rbegin(), h.rend(), [](float v) { return v != 0.0f; });
    EXPECT_EQ(h.rend() - lastNonZero - 1, 22614);
}

TEST(CabinetResponse, LowResonanceNear100HzWithASteepFallBelow) {
    const auto& h = committed();
    const auto levels = powers(h, 30.0, 48 * 4);
    const auto loudest = std::max_element(levels.begin(), levels.end());
    const double resonance = 30.0 * std::exp2(double(loudest - levels.begin()) / 48.0);
    EXPECT_TRUE(resonance >= 80.0 && resonance <= 120.0) << resonance;
    EXPECT_LE(decibels(power(h, 40.0)), decibels(*loudest) - 12.0);
}

TEST(CabinetResponse, PresenceAboveTheMidsAndASteepFallAboveIt) {
    const auto& h = committed();
    const double presence = bandLevel(h, 1500.0, 4000.0);
    EXPECT_GE(presence, bandLevel(h, 500.0, 800.0) + 3.0);
    EXPECT_LE(decibels(power(h, 10000.0)), presence - 20.0);
}

TEST(CabinetResponse, UpperResponseIsRoughUnlikeASmoothCurve) {
    EXPECT_GE(rippleExcursions(committed(), 3.0), 3);
    // The same measure on a one-pole decay, smooth at every frequency, finds nothing.
    std::vector<float> smooth(2048);
    for (size_t n = 0; n < smooth.size(); ++n) {
        smooth[n] = float(std::pow(0.7, double(n)));
    }
    EXPECT_EQ(rippleExcursions(smooth, 3.0), 0);
}

TEST(CabinetResponse, GeneratorReproducesTheCommittedFileByteForByte) {
    const auto folder = generated("cabinetresponse");
    ASSERT_FALSE(folder.empty());
    EXPECT_TRUE(bytesOf(folder / "u87.f32") == bytesOf(committedFile()));
}

} // namespace
} // namespace nodara::testing
