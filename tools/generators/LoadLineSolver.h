#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

// Root finding for the load lines of the tube stages: every unknown of a stage is the zero of a
// function that is monotone in it, so a bracket always exists and the solve cannot fail to
// converge. Double precision throughout; no state, so results depend only on the arguments.
namespace torvane::generators {

/// The zero of `f` in [lo, hi], where f(lo) and f(hi) differ in sign (or one is zero).
/// Regula falsi with the Illinois correction, falling back to bisection whenever two steps
/// together fail to halve the bracket; ends when the bracket is a few units in the last place
/// wide.
template <class Function>
double findRoot(Function&& f, double lo, double hi) {
    double fLo = f(lo);
    double fHi = f(hi);
    if (fLo == 0.0)
        return lo;
    if (fHi == 0.0)
        return hi;
    if ((fLo > 0.0) == (fHi > 0.0))
        throw std::logic_error("findRoot: the interval does not bracket a zero");

    constexpr double tolerance = 4.0 * std::numeric_limits<double>::epsilon();
    constexpr int maxSteps = 2200; // bisection alone crosses all doubles in about 2100 halvings
    int lastMoved = 0;             // -1: lo moved last, +1: hi moved last
    double widthBefore[2] = {hi - lo, hi - lo}; // the bracket one and two steps ago
    for (int step = 0; step < maxSteps; ++step) {
        const double width = hi - lo;
        if (width <= tolerance * std::max(std::abs(lo), std::abs(hi)) ||
            width <= std::numeric_limits<double>::min())
            break;
        double x = (lo * fHi - hi * fLo) / (fHi - fLo);
        if (!(x > lo && x < hi) || (step >= 2 && width > 0.5 * widthBefore[1]))
            x = lo + 0.5 * width;
        widthBefore[1] = widthBefore[0];
        widthBefore[0] = width;
        const double fx = f(x);
        if (fx == 0.0)
            return x;
        if ((fx > 0.0) == (fLo > 0.0)) {
            lo = x;
            fLo = fx;
            if (lastMoved == -1)
                fHi *= 0.5; // Illinois: weight the stale end down so that the next step crosses
            lastMoved = -1;
        } else {
            hi = x;
            fHi = fx;
            if (lastMoved == +1)
                fLo *= 0.5;
            lastMoved = +1;
        }
    }
    return std::abs(fLo) < std::abs(fHi) ? lo : hi;
}

/// As findRoot, but starting from a guess (the solution at the previous point of a curve):
/// the bracket grows from [guess − step, guess + step] by factors of four until it holds the
/// zero, clipped to [lo, hi], which must bracket it.
template <class Function>
double findRootNear(Function&& f, double guess, double step, double lo, double hi) {
    const bool rising = f(hi) > f(lo);
    for (double reach = step; reach < hi - lo; reach *= 4.0) {
        const double a = std::max(lo, guess - reach);
        const double b = std::min(hi, guess + reach);
        const double fa = f(a);
        const double fb = f(b);
        if (rising ? (fa <= 0.0 && fb >= 0.0) : (fa >= 0.0 && fb <= 0.0))
            return findRoot(f, a, b);
    }
    return findRoot(f, lo, hi);
}

} // namespace torvane::generators
