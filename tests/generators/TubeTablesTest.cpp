// The committed tube tables: their sizes, the reference points the amplifier is voiced to, their
// shapes and smoothness, that the generator reproduces them byte for byte, and the circuit
// engine's DC sweep behind them against a stage worked out by hand.

#include "support/Tool.h"
#include "tools/generators/CircuitSweep.h"
#include "tools/generators/TableFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace torvane::generators;

std::filesystem::path dataDirectory() {
    return std::filesystem::path(nodara::testing::sourceDirectory()) / "amp" / "data";
}

/// A table's grid and, counted independently, its number of entries.
struct Layout {
    TableGrid grid;
    std::size_t entries;
};

const std::map<std::string, Layout> layouts = {
    {"V1", {{-8.0, 8.0, 0.01}, 1601}},         {"V2.lowCPU", {{-8.0, 100.0, 0.02}, 5401}},
    {"V2.full", {{-8.0, 80.0, 0.02}, 4401}},   {"V3.lowCPU", {{-40.0, 100.0, 0.01}, 14001}},
    {"V3.full", {{-40.0, 100.0, 0.01}, 14001}}, {"grid.V2V3", {{18.0, 30.0, 0.02}, 601}},
    {"grid.VolumeControl", {{0.0, 20.0, 0.02}, 1001}},
};

/// A committed table, read once.
struct Table {
    TableGrid grid;
    std::vector<float> values;

    double at(double vin) const { return values.at(grid.indexOf(vin)); }
    std::size_t indexOfLowest() const {
        return std::size_t(std::min_element(values.begin(), values.end()) - values.begin());
    }
    double lowest() const { return values[indexOfLowest()]; }
};

const Table& table(const std::string& name) {
    static std::map<std::string, Table> cache;
    auto [found, added] = cache.try_emplace(name);
    if (added) {
        found->second = {layouts.at(name).grid, readFloat32File(dataDirectory() / (name + ".f32"))};
    }
    return found->second;
}

/// Every step of table `name` from entry `first` to its end moves the way of `sign`, strictly
/// when `strict`.
void expectSteps(const std::string& name, std::size_t first, int sign, bool strict) {
    const std::vector<float>& v = table(name).values;
    for (std::size_t i = first; i + 1 < v.size(); ++i) {
        const float step = sign * (v[i + 1] - v[i]);
        ASSERT_TRUE(strict ? step > 0.0f : step >= 0.0f) << name << " entry " << i + 1;
    }
}

struct ReferencePoint {
    const char* table;
    double vin;
    double value;
};

void expectWithin(double tolerance, const std::vector<ReferencePoint>& points) {
    for (const ReferencePoint& point : points) {
        SCOPED_TRACE(std::string(point.table) + " at " + std::to_string(point.vin) + " V");
        const double allowed = tolerance * std::abs(point.value);
        EXPECT_NEAR(table(point.table).at(point.vin), point.value, allowed);
    }
}

/// The spacing of floats at `value`: the rounding step of a stored entry.
double floatStep(double value) {
    const float magnitude = std::abs(static_cast<float>(value));
    return std::nextafter(magnitude, INFINITY) - magnitude;
}

/// Every second difference lies in line with those two entries away on either side: it departs
/// from their mean by no more than the larger of them, plus what rounding to float can add
/// (`roundingSteps` float steps of the local value). A kink or a step concentrates its second
/// differences within one or two entries and fails; a curvature that changes quickly but
/// steadily, as where a grid starts to conduct, passes.
void expectSmooth(const std::vector<double>& y, double roundingSteps, const std::string& what) {
    std::vector<double> second(y.size() - 2);
    for (std::size_t i = 0; i < second.size(); ++i)
        second[i] = y[i + 2] - 2.0 * y[i + 1] + y[i];
    int failures = 0;
    for (std::size_t i = 2; i + 2 < second.size() && failures < 5; ++i) {
        const double departure = std::abs(second[i] - 0.5 * (second[i - 2] + second[i + 2]));
        const double allowed = std::max(std::abs(second[i - 2]), std::abs(second[i + 2])) +
                               roundingSteps * floatStep(y[i + 1]);
        if (departure > allowed) {
            ++failures;
            ADD_FAILURE() << what << ": second difference out of line at entry " << i + 1
                          << ": " << second[i - 2] << ", " << second[i] << ", " << second[i + 2];
        }
    }
}

const char* const stageCurves[] = {"V1", "V2.lowCPU", "V2.full", "V3.lowCPU", "V3.full"};

TEST(TubeTables, EachTableHasOneValuePerInputStep) {
    for (const auto& [name, layout] : layouts) {
        EXPECT_EQ(table(name).values.size(), layout.entries) << name;
        EXPECT_EQ(layout.grid.count(), layout.entries) << name;
    }
}

// The full-quality variants equal the low-CPU ones until the grid conducts (checked below), so
// only their points beyond it are listed.
TEST(TubeTables, StageCurvesMeetEveryReferencePointWithinTwoPercent) {
    expectWithin(0.02, {
        {"V1", -8, 260.0},         {"V1", -2, 255.121},        {"V1", -1, 228.575},
        {"V1", 0, 176.687},        {"V1", 1, 116.129},         {"V1", 2, 99.665},
        {"V1", 5, 92.899},         {"V1", 8, 92.90},
        {"V2.lowCPU", -8, 260.0},  {"V2.lowCPU", -2, 233.787}, {"V2.lowCPU", -1, 207.100},
        {"V2.lowCPU", 0, 176.687}, {"V2.lowCPU", 1, 144.203},  {"V2.lowCPU", 2, 115.295},
        {"V2.lowCPU", 5, 93.857},  {"V2.lowCPU", 100, 96.26},
        {"V2.full", 2, 114.701},   {"V2.full", 5, 94.891},     {"V2.full", 80, 137.53},
        {"V3.lowCPU", -40, 599.08}, {"V3.lowCPU", -2, 374.650}, {"V3.lowCPU", -1, 350.740},
        {"V3.lowCPU", 0, 325.515}, {"V3.lowCPU", 1, 299.161},  {"V3.lowCPU", 2, 271.957},
        {"V3.lowCPU", 5, 189.791}, {"V3.lowCPU", 30, 47.169},  {"V3.lowCPU", 100, 42.82},
        {"V3.full", 30, 34.947},   {"V3.full", 100, -30.29},
    });
}

// The other curves end at their lowest point, checked with their reference points.
TEST(TubeTables, LowestValuesWithinTwoPercent) {
    const std::map<std::string, double> lowest = {{"V2.lowCPU", 93.844}, {"V2.full", 94.065}};
    for (const auto& [name, value] : lowest)
        EXPECT_NEAR(table(name).lowest(), value, 0.02 * std::abs(value)) << name;
}

TEST(TubeTables, GridResistancesWithinTwentyPercentOfTheReferencePoints) {
    expectWithin(0.20, {
        {"grid.V2V3", 18.5, 922977},         {"grid.V2V3", 19.3, 87386},
        {"grid.V2V3", 22.3, 12658},          {"grid.V2V3", 29.18, 3695},
        {"grid.VolumeControl", 1.62, 76580}, {"grid.VolumeControl", 2.42, 15279},
        {"grid.VolumeControl", 5.42, 4529},  {"grid.VolumeControl", 19.42, 2617},
    });
}

TEST(TubeTables, GridCurvesHoldTenGigohmsUpToTheOnsetAndFallAfterIt) {
    const std::map<std::string, double> onsets = {{"grid.V2V3", 18.30},
                                                  {"grid.VolumeControl", 1.42}};
    for (const auto& [name, onset] : onsets) {
        const std::size_t atOnset = table(name).grid.indexOf(onset);
        for (std::size_t i = 0; i <= atOnset; ++i)
            ASSERT_EQ(table(name).values[i], 1e10f) << name << " entry " << i;
        expectSteps(name, atOnset, -1, true);
    }
}

TEST(TubeTables, LowCpuCurvesFallToTheirLowestPoint) {
    // Nowhere before its lowest point does a curve rise, and every step falls except at cut-off
    // (values at the supply) and where the grid clamp has flattened the curve onto its floor.
    for (const char* name : {"V1", "V2.lowCPU", "V3.lowCPU"}) {
        const std::vector<float>& v = table(name).values;
        const std::size_t lowest = table(name).indexOfLowest();
        for (std::size_t i = 0; i < lowest; ++i) {
            ASSERT_LE(v[i + 1], v[i]) << name << " rises at entry " << i + 1;
            const bool clipped = v[i] > v.front() - 0.01f || v[i + 1] < v[lowest] + 0.01f;
            if (!clipped) {
                ASSERT_LT(v[i + 1], v[i]) << name << " stalls at entry " << i + 1;
            }
        }
    }
    EXPECT_EQ(table("V1").values.back(), table("V1").lowest());
    EXPECT_EQ(table("V3.lowCPU").values.back(), table("V3.lowCPU").lowest());
}

TEST(TubeTables, SecondStageFloorRisesGentlyAsItsCathodeCarriesGridCurrent) {
    expectSteps("V2.lowCPU", table("V2.lowCPU").indexOfLowest(), 1, false);
    EXPECT_LT(table("V2.lowCPU").values.back(), 1.03 * table("V2.lowCPU").lowest());
}

TEST(TubeTables, FullCurvesFoldBackUnderGridCurrent) {
    const std::size_t lowestAt = table("V2.full").indexOfLowest();
    EXPECT_GT(table("V2.full").grid.vinAt(lowestAt), 2.0);
    EXPECT_LT(table("V2.full").grid.vinAt(lowestAt), 5.0);
    expectSteps("V2.full", lowestAt, 1, true);
    expectSteps("V3.full", 0, -1, true);
}

TEST(TubeTables, VariantsAreIdenticalUntilTheGridConducts) {
    for (const auto& [low, full, vin] : {std::tuple{"V2.lowCPU", "V2.full", 1.0},
                                         std::tuple{"V3.lowCPU", "V3.full", 10.0}}) {
        for (std::size_t i = 0; i <= table(low).grid.indexOf(vin); ++i)
            ASSERT_EQ(table(low).values[i], table(full).values[i]) << full << " entry " << i;
    }
}

TEST(TubeTables, StageCurvesAreSmooth) {
    for (const char* name : stageCurves) {
        const std::vector<float>& values = table(name).values;
        // The circuit engine solves in floats: a stored value is off by about a float step of
        // solve noise besides its rounding; a departure weighs seven values with weights
        // summing to 6.
        expectSmooth({values.begin(), values.end()}, 8.0, name);
    }
}

TEST(TubeTables, GridConductancesAreSmoothOnceConducting) {
    for (const char* name : {"grid.V2V3", "grid.VolumeControl"}) {
        const std::vector<float>& resistance = table(name).values;
        const auto firstConducting = std::find_if(resistance.begin(), resistance.end(),
                                                  [](float r) { return r < 1e10f; });
        // From the second conducting entry on: the first one bends out of zero conductance.
        std::vector<double> conductance;
        for (auto r = std::next(firstConducting); r != resistance.end(); ++r)
            conductance.push_back(1.0 / *r);
        // Each conductance inherits its resistance's rounding and the float solve's noise,
        // about two float steps together.
        expectSmooth(conductance, 12.0, name);
    }
}

/// How many float steps apart a and b are (both finite, of one sign unless equal).
std::int64_t floatSteps(float a, float b) {
    return a == b ? 0 : std::abs(std::int64_t(std::bit_cast<std::int32_t>(a)) - std::bit_cast<std::int32_t>(b));
}

// Byte for byte on this processor. The circuit engine's LU starts each reciprocal from the
// processor's own estimate, which differs between makers, so elsewhere an entry may move by
// one float step.
TEST(TubeTables, GeneratorReproducesTheCommittedFiles) {
    const auto folder = nodara::testing::generated("tubetables");
    ASSERT_FALSE(folder.empty());
    for (const auto& [name, layout] : layouts) {
        const auto made = readFloat32File(folder / (name + ".f32"));
        const auto& committed = table(name).values;
        ASSERT_EQ(made.size(), committed.size()) << name;
        for (std::size_t i = 0; i < made.size(); ++i) {
            ASSERT_LE(floatSteps(made[i], committed[i]), 1) << name << " " << i;
        }
    }
}

// 260 V supply, 100 kΩ plate load, 1.5 kΩ unbypassed cathode resistor, input through 41 kΩ.
// At rest, with Vk = 1.2497 V and Vp = 176.687 V, Koren's law (mu 100, Ex 1.4, Kg 1060,
// Kp 600, Kvb 300) at Vgk = −1.2497 V, Vpk = 175.437 V gives
//   E1 = (175.437/600)·ln(1 + e^(600·(1/100 − 1.2497/176.290))) = 0.55771,
//   Ip = 2·E1^1.4/1060 = 0.8331 mA,
// which the plate load ((260 − 176.687)/100 kΩ) and the cathode resistor (1.2497/1.5 kΩ) both
// carry. At −8 V the tube is cut off and the plate sits at the supply.
TEST(CircuitSweep, TriodeStageMeetsItsHandWorkedOperatingPointAndCutOff) {
    const std::string stage =
        supply("Supply", 260.0, "supply") + resistor("RL", 100e3, "supply", "plate") +
        resistor("Rk", 1.5e3, "cathode", "0") + sweptSource("In", 0, "in", "0") +
        resistor("Rs", 41e3, "in", "grid") +
        part("Triode", "V", "Type=\"12AX7\" DoNotInterpolate=\"true\"",
             {"plate", "grid", "cathode"});
    const auto swept =
        sweep(sweepDocument(stage, 1, {"plate", "cathode"}, {1e-6, 1e-9}), {{0.0, -8.0}});
    EXPECT_NEAR(swept[0][0], 176.687, 2e-3);
    EXPECT_NEAR(swept[1][0], 1.2497, 1e-4);
    EXPECT_NEAR(swept[0][1], 260.0, 1e-3);
    EXPECT_NEAR(swept[1][1], 0.0, 1e-4);
}

} // namespace
