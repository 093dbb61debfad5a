#include "dsp/resampling/polyphase/KaiserDesign.h"

#include "dsp/fir/Fir.h"
#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara {

namespace {

/// 2π and 1/π as the design's single-precision constants.
constexpr scalar twoPi = 6.2831855f;
constexpr scalar inversePi = 0.31830987f;

/// Σ c[i]·t^i by Horner's rule.
template <size_t N>
scalar polynomial(const scalar (&c)[N], scalar t) {
    scalar sum = c[N - 1];
    for (size_t i = N - 1; i-- > 0;) {
        sum = sum * t + c[i];
    }
    return sum;
}

} // namespace

scalar kaiserBeta(scalar a) {
    if (a >= 50.0f) {
        return 0.1102f * (a - 8.7f);
    }
    if (a > 21.0f) {
        return 0.5842f * std::pow(a - 21.0f, 0.4f) + 0.07886f * (a - 21.0f);
    }
    return 0.0f;
}

scalar besselI0(scalar x) {
    const scalar ax = std::fabs(x);
    if (ax <= 3.75f) {
        // 9.8.1, in powers of (x / 3.75)².
        static constexpr scalar c[] = {1.0f,       3.5156229f, 3.0899424f, 1.2067492f,
                                       0.2659732f, 0.0360768f, 0.0045813f};
        const scalar t = x / 3.75f;
        return polynomial(c, t * t);
    }
    // 9.8.2: √x·e^(−x)·I0(x) in powers of 3.75 / x.
    static constexpr scalar c[] = {0.39894228f,  0.01328592f,  0.00225319f,
                                   -0.00157565f, 0.00916281f,  -0.02057706f,
                                   0.02635537f,  -0.01647633f, 0.00392377f};
    return std::exp(ax) / std::sqrt(ax) * polynomial(c, 3.75f / ax);
}

std::vector<scalar> kaiserLowPass(scalar attenuation, int32 count, scalar corner) {
    std::vector<scalar> taps(static_cast<size_t>(std::max(count, 0)));
    const scalar beta = kaiserBeta(attenuation);
    const scalar windowAtCentre = besselI0(beta);
    const scalar half = static_cast<scalar>(count - 1) / 2.0f;
    scalar sum = 0.0f;
    for (int32 j = 0; j < count; ++j) {
        const scalar k = static_cast<scalar>(j) - half;
        const scalar ideal =
            k == 0.0f ? 2.0f * corner : std::sin(twoPi * corner * k) * inversePi / k;
        // One tap alone has no window to speak of: 2k / (count − 1) would be 0 / 0.
        const scalar ratio = count > 1 ? 2.0f * k / static_cast<scalar>(count - 1) : 0.0f;
        const scalar window =
            besselI0(beta * std::sqrt(std::max(1.0f - ratio * ratio, 0.0f))) / windowAtCentre;
        taps[static_cast<size_t>(j)] = ideal * window;
        sum += taps[static_cast<size_t>(j)];
    }
    if (!std::isfinite(sum) || sum == 0.0f) {
        return {};
    }
    for (scalar& tap : taps) {
        tap /= sum;
    }
    return taps;
}

void KaiserSettings::read(const Properties& properties, const char* elementType) {
    type = elementType;
    if (!readProperty(properties, "Factor", factor, intParser)) {
        throw InvalidArgumentException(concat(type, ": Factor must be specified"));
    }
    if (factor < 1) {
        throw InvalidArgumentException(
            concat(type, ": Factor must be greater than 0. Factor=", factor));
    }
    if (!readProperty(properties, "Order", order, intParser)) {
        throw InvalidArgumentException(concat(type, ": Order must be specified"));
    }
    if (order < 1) {
        throw InvalidArgumentException(
            concat(type, ": Order must be greater than zero. Order=", order));
    }
    // The taps must fit the filter; said here rather than at the first rate.
    if (order > Fir::maxTaps) {
        throw InvalidArgumentException(
            concat(type, ": Order must be at most ", Fir::maxTaps, ". Order=", order));
    }
    if (!readProperty(properties, "Attenuation", attenuation, scalarParser)) {
        throw InvalidArgumentException(concat(type, ": Attenuation must be specified"));
    }
    if (!(attenuation > 1.0f)) {
        throw InvalidArgumentException(
            concat(type, ": Attenuation must be greater than 1. Attenuation=", attenuation));
    }
    const bool relative =
        readProperty(properties, "RelativeCornerFrequency", relativeCorner, scalarParser);
    absolute = readProperty(properties, "AbsoluteCornerFrequency", absoluteCorner, scalarParser);
    if (relative && absolute) {
        throw InvalidArgumentException(concat(type,
                                              ": RelativeCornerFrequency and "
                                              "AbsoluteCornerFrequency are defined. Only "
                                              "one is allowed."));
    }
    if (!relative && !absolute) {
        throw InvalidArgumentException(concat(type,
                                              ": Either RelativeCornerFrequency or "
                                              "AbsoluteCornerFrequency must be specified."));
    }
    if (relative && !(relativeCorner > 0.0f && relativeCorner < 1.0f)) {
        throw InvalidArgumentException(concat(type,
                                              ": RelativeCornerFrequency must be between 0 and 1. "
                                              "RelativeCornerFrequency=",
                                              relativeCorner));
    }
    if (absolute && !(absoluteCorner > 0.0f)) {
        throw InvalidArgumentException(concat(type,
                                              ": AbsoluteCornerFrequency must be greater than 0. "
                                              "AbsoluteCornerFrequency=",
                                              absoluteCorner));
    }
}

scalar KaiserSettings::corner(scalar rate, int32 divisor) const {
    return absolute ? absoluteCorner / rate / static_cast<scalar>(divisor) : relativeCorner;
}

std::vector<scalar> KaiserSettings::design(scalar rate, int32 divisor) const {
    const scalar fc = corner(rate, divisor);
    auto taps = kaiserLowPass(attenuation, order, fc);
    if (taps.empty()) {
        throw InvalidArgumentException(concat(type, ": the design has no finite taps. Attenuation=",
                                              attenuation, " Order=", order, " corner=", fc));
    }
    return taps;
}

} // namespace nodara
