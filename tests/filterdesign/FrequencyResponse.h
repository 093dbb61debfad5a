#pragma once

#include "filterdesign/Design.h"

#include <complex>
#include <numbers>
#include <vector>

namespace nodara::filterdesign::testing {

/// H(e^(j2πf)) of y[n] = Σ b[i]·x[n−i] − Σ a[i]·y[n−1−i], evaluated directly from the
/// coefficients, independent of the design's own polynomials.
template <class Value>
std::complex<double> response(const std::vector<Value>& a, const std::vector<Value>& b,
                              double f) {
    const std::complex<double> zInverse = std::polar(1.0, -2.0 * std::numbers::pi * f);
    std::complex<double> top = 0.0;
    std::complex<double> power = 1.0;
    for (const Value coefficient : b) {
        top += double(coefficient) * power;
        power *= zInverse;
    }
    std::complex<double> bottom = 1.0;
    power = zInverse;
    for (const Value coefficient : a) {
        bottom += double(coefficient) * power;
        power *= zInverse;
    }
    return top / bottom;
}

/// A context asking for `band` instead of the constructor's low-pass, not yet designed.
inline IirDesignContext requestFor(Options family, int32 order, Options band, double fc1,
                                   double fc2 = 0.0, double ripple = 0.0) {
    IirDesignContext context(family, order, fc1, fc2, ripple);
    context.setOption(Options::LowPass, false);
    context.setOption(band);
    return context;
}

/// The design of a context in double precision, before the narrowing to float: high orders
/// at low corners are too ill-conditioned in direct form for float coefficients to show the
/// design's own accuracy.
inline Recurrence recurrenceOf(const IirDesignContext& context) {
    context.checkBandEdges();
    return designRecurrence(makeRequest(context));
}

inline double magnitude(const Recurrence& recurrence, double f) {
    return std::abs(response(recurrence.a, recurrence.b, f));
}

inline double magnitude(const IirDesignContext& context, double f) {
    return std::abs(response(*context.getA(), *context.getB(), f));
}

} // namespace nodara::filterdesign::testing
