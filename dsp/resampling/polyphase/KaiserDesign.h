#pragma once

#include "runtime/Properties.h"

#include <vector>

// The low pass of the resampling elements: a windowed sinc with Kaiser's window, designed in
// single precision at every rate change.
namespace nodara {

/// β of the window for a stop-band attenuation of `attenuation` dB: 0.1102·(A − 8.7) from
/// 50 dB up, 0.5842·(A − 21)^0.4 + 0.07886·(A − 21) above 21 dB, else 0 (a rectangular window).
scalar kaiserBeta(scalar attenuation);

/// The modified Bessel function I0 by the polynomial approximations of Abramowitz and Stegun,
/// 9.8.1 up to |x| = 3.75 and 9.8.2 above (relative error below 2e-7).
scalar besselI0(scalar x);

/// `count` taps of a low pass with the corner `corner` in cycles per sample: the ideal
/// response sin(2π·fc·k) / (π·k) (2·fc at k = 0) for k = −(count − 1)/2, …, (count − 1)/2, times
/// the window I0(β·√(1 − (2k / (count − 1))²)) / I0(β), normalised to sum to 1. Empty when
/// the design has no finite answer (a window beyond the float range, or taps that sum to 0).
std::vector<scalar> kaiserLowPass(scalar attenuation, int32 count, scalar corner);

/// What a document sets for a resampling element, read and checked in the element's words.
class KaiserSettings {
public:
    /// Factor, Order, Attenuation and exactly one of RelativeCornerFrequency and
    /// AbsoluteCornerFrequency; `type` heads the messages.
    void read(const Properties& properties, const char* type);
    /// The corner in cycles per sample at the rate the taps run at: the relative corner, or
    /// AbsoluteCornerFrequency / `rate` / `divisor`.
    scalar corner(scalar rate, int32 divisor) const;
    /// Order taps for `rate`. Allocates; refuses a design with no finite answer.
    std::vector<scalar> design(scalar rate, int32 divisor) const;

    int32 getFactor() const { return factor; }

private:
    const char* type = "";
    int32 factor = 1;
    int32 order = 0;
    scalar attenuation = 0.0f;
    scalar relativeCorner = 0.0f;
    scalar absoluteCorner = 0.0f;
    bool absolute = false;
};

} // namespace nodara
