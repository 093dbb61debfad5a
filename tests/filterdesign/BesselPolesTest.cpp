#include "filterdesign/BesselPoles.h"

#include <gtest/gtest.h>

#include <complex>

namespace nodara::filterdesign {
namespace {

// The method's table, normalised for −3 dB at 1 rad/s, to its twelve printed digits.
TEST(BesselPoles, OrdersTwoAndThreeMatchThePublishedHalfPowerTable) {
    const auto& second = besselPoles(2);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_NEAR(second[0].real(), -1.10160133059, 1e-11);
    EXPECT_NEAR(second[0].imag(), 0.636009824757, 1e-11);
    EXPECT_EQ(second[1], std::conj(second[0]));

    const auto& third = besselPoles(3);
    ASSERT_EQ(third.size(), 3u);
    EXPECT_NEAR(third[0].real(), -1.04740916101, 1e-11);
    EXPECT_NEAR(third[0].imag(), 0.999264436281, 1e-11);
    EXPECT_EQ(third[1], std::conj(third[0]));
    EXPECT_NEAR(third[2].real(), -1.32267579991, 1e-11);
    EXPECT_EQ(third[2].imag(), 0.0);
}

// For poles q = p/ωc of the unit-delay polynomial θn, whose two lowest coefficients are both
// (2n − 1)!!: the DC group delay Σ −1/q is ωc and Π(−q) = (2n − 1)!!/ωc^n, so
// (Σ −1/q)^n · Π(−q) = (2n − 1)!! whatever the corner. And |H(j)|² = Π|q|² / Π|j − q|² = 1/2.
TEST(BesselPoles, EveryOrderIsStablePairedHalfPowerAtOneAndOfUnitDelayShape) {
    double oddFactorial = 1.0;
    for (int32 order = 1; order <= 10; ++order) {
        SCOPED_TRACE(order);
        oddFactorial *= 2 * order - 1;
        const auto& poles = besselPoles(order);
        ASSERT_EQ(poles.size(), std::size_t(order));
        double gainSquared = 1.0;
        Complex delay = 0.0;
        Complex product = 1.0;
        for (const auto& pole : poles) {
            EXPECT_LT(pole.real(), 0.0);
            gainSquared *= std::norm(pole) / std::norm(Complex(0.0, 1.0) - pole);
            delay -= 1.0 / pole;
            product *= -pole;
        }
        for (std::size_t i = 0; i + 1 < poles.size(); i += 2) {
            EXPECT_EQ(poles[i + 1], std::conj(poles[i]));
        }
        EXPECT_NEAR(gainSquared, 0.5, 1e-14);
        EXPECT_NEAR(std::pow(delay.real(), order) * product.real() / oddFactorial, 1.0, 1e-13);
    }
}

} // namespace
} // namespace nodara::filterdesign
