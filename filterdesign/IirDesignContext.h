#pragma once

#include "filterdesign/DesignContext.h"

#include <bitset>
#include <cstddef>

namespace nodara::filterdesign {

/// Flags of an IIR design request, by their index in the option set.
enum class Options : int32 {
    Bessel = 1,
    Butterworth = 2,
    Chebyshev = 3,
    LowPass = 4,
    HighPass = 5,
    BandPass = 6,
    BandStop = 7,
    AllPass = 8,
    DoNotPreWarp = 13,
    MatchedZ = 14,
};

/// An IIR design request (family, band, corners, ripple) and, once designed, its coefficients.
/// Corners are fractions of the sample rate. The constructor asks for a low-pass; another band
/// is chosen by clearing `LowPass` and setting the band's option before `design`.
class IirDesignContext : public DesignContext {
public:
    static constexpr std::size_t optionCount = 15;

    /// Checks family, ripple (Chebyshev), fc1 and order, in that order; throws
    /// InvalidArgumentException. fc2 is checked at design time, for the two-edged bands.
    IirDesignContext(Options family, int32 order, double fc1, double fc2 = 0.0,
                     double ripple = 0.0);

    /// Throws std::out_of_range for an index of 15 or more.
    bool hasOption(Options option) const;
    /// Sets or clears one option; throws std::out_of_range for an index of 15 or more.
    void setOption(Options option, bool value = true);

    /// For band-pass and band-stop: throws InvalidArgumentException unless 0 < fc1 < fc2 < 0.5.
    void checkBandEdges() const;

    double getFc1() const { return fc1; }
    double getFc2() const { return fc2; }
    /// Chebyshev pass-band ripple in dB, negative.
    double getRipple() const { return ripple; }

private:
    /// Runs the checks that precede the order's; returns the order for the base class.
    static int32 checkedOrder(Options family, int32 order, double fc1, double ripple);
    static std::size_t position(Options option);

    std::bitset<optionCount> options;
    double fc1;
    double fc2;
    double ripple;
};

} // namespace nodara::filterdesign
