#include "filterdesign/BesselPoles.h"
#include "filterdesign/Design.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>

namespace nodara::filterdesign {
namespace {

/// A context asking for `band` instead of the constructor's low-pass, not yet designed.
IirDesignContext requestFor(Options family, int32 order, Options band, double fc1,
                            double fc2 = 0.0, double ripple = 0.0) {
    IirDesignContext context(family, order, fc1, fc2, ripple);
    context.setOption(Options::LowPass, false);
    context.setOption(band);
    return context;
}

/// The design of a context in double precision, before the narrowing to float: high orders
/// at low corners are too ill-conditioned in direct form for float coefficients to show the
/// design's own accuracy.
Recurrence recurrenceOf(const IirDesignContext& context) {
    context.checkBandEdges();
    return designRecurrence(makeRequest(context));
}

double magnitude(const Recurrence& recurrence, double f) {
    return std::abs(nodara::testing::response(recurrence.a, recurrence.b, f));
}

const Options families[] = {Options::Bessel, Options::Butterworth, Options::Chebyshev};

/// The pre-warped corner tan(πf)/π, and its inverse.
double warped(double f) { return std::tan(std::numbers::pi * f) / std::numbers::pi; }
double unwarped(double w) { return std::atan(std::numbers::pi * w) / std::numbers::pi; }

double squared(double x) { return x * x; }

// The band edges of the band-pass and band-stop designs; the peak or notch sits at the bilinear
// image of the analog centre √(w1·w2) of the warped corners.
constexpr double fc1 = 0.1, fc2 = 0.2;
const double centre = unwarped(std::sqrt(warped(fc1) * warped(fc2)));

TEST(IirDesign, LowAndHighPassesOfEveryFamilyAndOrderPassAndStopTheBandEnds) {
    for (const Options family : families) {
        for (int32 order = 1; order <= 10; ++order) {
            for (const double fc : {0.02, 0.1, 0.3}) {
                SCOPED_TRACE(::testing::Message() << int(family) << " order " << order << " fc " << fc);
                IirDesignContext context(family, order, fc, 0.0, -0.5);
                const Recurrence recurrence = recurrenceOf(context);
                // Many poles near DC make the direct form itself inexact there: its sums
                // cancel to a few digits. The exact gain is checked from the poles below.
                const bool clustered = fc < 0.1 && order > 4;
                EXPECT_NEAR(magnitude(recurrence, 0.0), 1.0, clustered ? 1e-2 : 1e-9);
                EXPECT_NEAR(magnitude(recurrence, 0.5), 0.0, 1e-9);
                const auto high = recurrenceOf(requestFor(family, order, Options::HighPass, fc, 0.0, -1.0));
                EXPECT_NEAR(magnitude(high, 0.5), 1.0, 1e-9);
                EXPECT_NEAR(magnitude(high, 0.0), 0.0, fc < 0.1 ? 0.2 : 1e-7);
                if (order <= 3) {
                    // The float hand-over: Σb / (1 + Σa) is the DC gain, within rounding.
                    design(context);
                    const auto &a = *context.getA(), &b = *context.getB();
                    ASSERT_EQ(a.size() + 1, b.size());
                    ASSERT_EQ(a.size(), std::size_t(order));
                    EXPECT_NEAR(std::accumulate(b.begin(), b.end(), 0.0) /
                                    std::accumulate(a.begin(), a.end(), 1.0), 1.0, 2e-4);
                }
            }
        }
    }
}

// The bilinear low-pass is b[k] = C(n, k)·K over its poles: its top is (z + 1)^n, 2^n at DC,
// and each pole z = (2 + s)/(2 − s) gives |1 − z| = 2|s| / |2 − s|, so K = Π |s| / |2 − s|
// over the analogue poles s. Worked from the analogue side, that holds to full precision
// where the expanded polynomials cancel to a few digits at DC.
TEST(IirDesign, LowPassGainIsExactEvenWithManyPolesNearDc) {
    for (const double ripple : {0.0, -0.5, -3.0}) {
        for (int32 order = 1; order <= 10; ++order) {
            for (const double fc : {0.005, 0.02, 0.2}) {
                SCOPED_TRACE(::testing::Message() << "ripple " << ripple << " order " << order
                                                  << " fc " << fc);
                const Options family = ripple < 0.0 ? Options::Chebyshev : Options::Butterworth;
                const double y = ripple < 0.0
                    ? std::asinh(1.0 / std::sqrt(std::pow(10.0, -ripple / 10.0) - 1.0)) / order
                    : 0.0;
                const double w = 2.0 * std::numbers::pi * warped(fc);
                double k = 1.0;
                for (int32 i = 0; i < order; ++i) {
                    const double angle = std::numbers::pi * (0.5 + (i + 0.5) / order);
                    const Complex s = w * Complex(std::cos(angle) * (ripple < 0.0 ? std::sinh(y) : 1.0),
                                                  std::sin(angle) * (ripple < 0.0 ? std::cosh(y) : 1.0));
                    k *= std::abs(s) / std::abs(2.0 - s);
                }
                const Recurrence recurrence =
                    recurrenceOf(IirDesignContext(family, order, fc, 0.0, ripple));
                double binomial = 1.0;
                for (int32 i = 0; i <= order; ++i) {
                    EXPECT_NEAR(recurrence.b[i] / (binomial * k), 1.0, 1e-10) << "b" << i;
                    binomial = binomial * (order - i) / (i + 1);
                }
            }
        }
    }
}

// Without pre-warping the analog corner fc lands at the bilinear image atan(π·fc)/π.
TEST(IirDesign, HalfPowerIsAtThePreWarpedCornerOrWithoutPreWarpingAtItsBilinearImage) {
    for (const Options family : {Options::Bessel, Options::Butterworth}) {
        for (const Options band : {Options::LowPass, Options::HighPass}) {
            for (int32 order = 1; order <= 10; ++order) {
                for (const double fc : {0.05, 0.2, 0.4}) {
                    SCOPED_TRACE(::testing::Message() << int(family) << " band " << int(band)
                                                      << " order " << order << " fc " << fc);
                    auto context = requestFor(family, order, band, fc);
                    EXPECT_NEAR(squared(magnitude(recurrenceOf(context), fc)), 0.5, 1e-7);
                    context.setOption(Options::DoNotPreWarp);
                    EXPECT_NEAR(squared(magnitude(recurrenceOf(context), unwarped(fc))), 0.5, 1e-7);
                }
            }
        }
    }
}

TEST(IirDesign, ChebyshevPassBandRipplesByTheRequestedDecibels) {
    for (const int32 order : {1, 2, 3, 4, 5, 8}) {
        for (const double ripple : {-0.1, -0.5, -1.0, -3.0}) {
            SCOPED_TRACE(::testing::Message() << "order " << order << " ripple " << ripple);
            const double fc = 0.15;
            IirDesignContext context(Options::Chebyshev, order, fc, 0.0, ripple);
            const Recurrence recurrence = recurrenceOf(context);
            double highest = -1e9, lowest = 1e9;
            for (int i = 0; i <= 4000; ++i) {
                const double level = 20.0 * std::log10(magnitude(recurrence, fc * i / 4000.0));
                highest = std::max(highest, level);
                lowest = std::min(lowest, level);
            }
            EXPECT_NEAR(highest - lowest, -ripple, 1e-4);
            // Odd orders are scaled at a ripple peak and end the band in a trough; even ones
            // the reverse.
            EXPECT_NEAR(20.0 * std::log10(magnitude(recurrence, fc)),
                        order % 2 == 1 ? ripple : 0.0, 1e-9);
        }
    }
}

// The gain is scaled to 1 at the arithmetic mean of the corners, which lies close to the peak.
TEST(IirDesign, BandPassPeaksNearItsCentreWithUnityAtTheMeanOfTheCorners) {
    for (const int32 order : {1, 2, 3, 4}) {
        SCOPED_TRACE(order);
        const auto recurrence =
            recurrenceOf(requestFor(Options::Butterworth, order, Options::BandPass, fc1, fc2));
        EXPECT_EQ(recurrence.a.size(), std::size_t(2 * order));
        EXPECT_NEAR(magnitude(recurrence, 0.5 * (fc1 + fc2)), 1.0, 1e-9);
        EXPECT_NEAR(magnitude(recurrence, 0.0), 0.0, 1e-9);
        EXPECT_NEAR(magnitude(recurrence, 0.5), 0.0, 1e-9);

        double peak = 0.0;
        for (int i = 0; i <= 5000; ++i) {
            peak = std::max(peak, magnitude(recurrence, 0.5 * i / 5000.0));
        }
        EXPECT_GE(magnitude(recurrence, centre), peak - 1e-12);
        EXPECT_NEAR(peak, 1.0, 1e-2);
        EXPECT_NEAR(squared(magnitude(recurrence, fc1) / peak), 0.5, 1e-6);
        EXPECT_NEAR(squared(magnitude(recurrence, fc2) / peak), 0.5, 1e-6);
    }
}

TEST(IirDesign, BandStopNotchesAtItsCentreAndPassesDcAndNyquist) {
    for (const int32 order : {1, 2, 3, 5}) {
        SCOPED_TRACE(order);
        const auto recurrence =
            recurrenceOf(requestFor(Options::Butterworth, order, Options::BandStop, fc1, fc2));
        EXPECT_EQ(recurrence.a.size(), std::size_t(2 * order));
        EXPECT_NEAR(magnitude(recurrence, centre), 0.0, 1e-7);
        EXPECT_NEAR(magnitude(recurrence, 0.0), 1.0, 1e-9);
        EXPECT_NEAR(magnitude(recurrence, 0.5), 1.0, 1e-9);
        EXPECT_NEAR(squared(magnitude(recurrence, fc1)), 0.5, 1e-9);
        EXPECT_NEAR(squared(magnitude(recurrence, fc2)), 0.5, 1e-9);
    }
}

// Each analog pole s = 2π·fc·p, p on the Butterworth circle at π/2 + (2k + 1)·π/(2n), must
// be a root of 1 + Σ a[i]·z^(−i−1) at z = exp(s), with the corner not pre-warped. The zeros at
// infinity have no image: b starts with `order` zeros, a pure delay.
TEST(IirDesign, MatchedZPolesAreTheExponentialsOfTheAnalogPoles) {
    for (int32 order = 1; order <= 6; ++order) {
        for (const double fc : {0.05, 0.2}) {
            SCOPED_TRACE(::testing::Message() << "order " << order << " fc " << fc);
            IirDesignContext context(Options::Butterworth, order, fc);
            context.setOption(Options::MatchedZ);
            const Recurrence recurrence = recurrenceOf(context);
            for (int32 k = 0; k < order; ++k) {
                const double angle = std::numbers::pi * (0.5 + (k + 0.5) / order);
                const Complex z = std::exp(2.0 * std::numbers::pi * fc * std::polar(1.0, angle));
                Complex denominator = 1.0;
                for (std::size_t i = 0; i < recurrence.a.size(); ++i) {
                    denominator += recurrence.a[i] * std::pow(z, -double(i + 1));
                }
                EXPECT_LT(std::abs(denominator), 1e-9);
            }
            const auto& b = recurrence.b;
            EXPECT_TRUE(std::all_of(b.begin(), b.end() - 1, [](double v) { return v == 0.0; }));
            EXPECT_NEAR(magnitude(recurrence, 0.0), 1.0, 1e-9);
        }
    }
}

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
