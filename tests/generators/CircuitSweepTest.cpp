// The DC sweep behind the tube tables: a 12AX7 common-cathode stage swept by the circuit engine,
// against its operating point worked out by hand.

#include "tools/generators/CircuitSweep.h"

#include <gtest/gtest.h>

namespace {

using namespace torvane::generators;

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
