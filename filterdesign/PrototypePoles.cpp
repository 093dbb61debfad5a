#include "filterdesign/PrototypePoles.h"

#include "filterdesign/BesselPoles.h"
#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara::filterdesign {

namespace {

/// n poles evenly spaced on the unit circle in the left half-plane: at (i + 0.5)·π/n for even
/// n, at i·π/n for odd n (which gives the real pole at π), i from 0 below 2n.
std::vector<Complex> butterworthPoles(int32 n) {
    std::vector<Complex> poles;
    for (int32 i = 0; i < 2 * n; ++i) {
        const double angle = (n % 2 == 0 ? i + 0.5 : i) * pi / n;
        const Complex pole = std::polar(1.0, angle);
        if (pole.real() < 0.0) {
            poles.push_back(pole);
        }
    }
    return poles;
}

/// The Butterworth circle squeezed into an ellipse: with ε² = 10^(−ripple/10) − 1 and
/// y = asinh(1/ε)/n, real parts scale by sinh(y), imaginary parts by cosh(y). The gain then
/// ripples between 1 and 1/√(1 + ε²) up to the corner.
std::vector<Complex> chebyshevPoles(int32 n, double ripple) {
    // A ripple so close to 0 that ε² rounds to 0 counts as 0: its poles would be infinite.
    const double epsilonSquared = std::pow(10.0, -ripple / 10.0) - 1.0;
    if (!(ripple < 0.0) || !(epsilonSquared > 0.0)) {
        throw NodaraException("Chebyshev ripple must be < 0");
    }
    const double epsilon = std::sqrt(epsilonSquared);
    const double y = std::asinh(1.0 / epsilon) / n;
    if (!(y > 0.0)) {
        throw NodaraException("Chebyshev y must be > 0");
    }
    std::vector<Complex> poles = butterworthPoles(n);
    for (auto& pole : poles) {
        pole = {pole.real() * std::sinh(y), pole.imag() * std::cosh(y)};
    }
    return poles;
}

} // namespace

std::vector<Complex> prototypePoles(const Request& request) {
    if (request.options & requestbits::bessel) {
        return besselPoles(request.order);
    }
    if (request.options & requestbits::chebyshev) {
        return chebyshevPoles(request.order, request.ripple);
    }
    return butterworthPoles(request.order);
}

} // namespace nodara::filterdesign
