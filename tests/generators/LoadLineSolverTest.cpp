// The root finder and the grid diode behind the tube tables, against closed forms.

#include "tools/generators/GridCurves.h"
#include "tools/generators/LoadLineSolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace torvane::generators;

struct RootCase {
    std::string what;
    std::function<double(double)> f;
    double lo;
    double hi;
    double root;
};

// Steep, flat, tiny-valued and one-sided functions: the shapes a load line takes between
// cut-off and saturation.
std::vector<RootCase> rootCases() {
    return {
        {"cube root", [](double x) { return x * x * x - 2.0; }, 0.0, 2.0, std::cbrt(2.0)},
        {"exponential over a wide bracket", [](double x) { return std::exp(x) - 10.0; }, -50.0,
         50.0, std::log(10.0)},
        {"milliampere-sized and flat", [](double x) { return 1e-3 * std::tanh(x - 0.3); }, -40.0,
         40.0, 0.3},
        {"falling", [](double x) { return 5.0 - x; }, 0.0, 260.0, 5.0},
        {"zero at an end", [](double x) { return x; }, 0.0, 1.0, 0.0},
        // A grid fed through a resistance: x + 48.4·x^1.5 = 0.0584 holds at x = 0.01.
        {"grid knee", [](double x) { return x + 48.4 * std::pow(std::max(x, 0.0), 1.5) - 0.0584; },
         -1.0, 1.0, 0.01},
    };
}

TEST(LoadLineSolver, FindsTheZeroOfEveryBracketedShape) {
    for (const RootCase& c : rootCases())
        EXPECT_NEAR(findRoot(c.f, c.lo, c.hi), c.root, 1e-12 * (1.0 + std::abs(c.root))) << c.what;
}

TEST(LoadLineSolver, SearchFromAGuessFindsTheSameZeroWhereverTheGuessLies) {
    for (const RootCase& c : rootCases()) {
        const double plain = findRoot(c.f, c.lo, c.hi);
        for (const double guess : {c.lo, c.hi, 0.5 * (c.lo + c.hi), plain})
            EXPECT_NEAR(findRootNear(c.f, guess, 1e-3, c.lo, c.hi), plain,
                        1e-12 * (1.0 + std::abs(plain)))
                << c.what << ", guess " << guess;
    }
}

TEST(LoadLineSolver, RejectsAnIntervalWithoutSignChange) {
    EXPECT_THROW(findRoot([](double x) { return x * x + 1.0; }, -1.0, 1.0), std::logic_error);
}

TEST(GridDiode, ResistanceIsVoltageOverTheDiodeCurrent) {
    // 1 V across a diode with K = 1e-3 A/V^1.5 passes 1 mA, which drops 1 V on 1 kΩ: at
    // 0.5 V onset + 2 V the grid passes 1 mA, 2.5 kΩ seen from ground.
    const GridDiode diode{0.5, 1e-3, 1e3};
    EXPECT_NEAR(diode.resistanceAt(2.5), 2500.0, 1e-9);
    // Without series resistance, the 3/2 law itself: 4 V past the onset passes 8·K.
    const GridDiode bare{0.5, 1e-3, 0.0};
    EXPECT_NEAR(bare.resistanceAt(4.5), 4.5 / 8e-3, 1e-9);
    for (const double v : {-1.0, 0.0, 0.5})
        EXPECT_EQ(diode.resistanceAt(v), nonConductingResistance) << v;
}

} // namespace
