#pragma once

#include "filterdesign/Design.h"
#include "support/Signals.h"

#include <vector>

namespace nodara::filterdesign::testing {

using nodara::testing::response;

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
