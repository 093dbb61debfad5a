#include "filterdesign/BandTransform.h"

#include <cmath>

namespace nodara::filterdesign {

namespace {

/// s → s/ω1: the poles scale by ω1, no finite zeros.
PoleZeroSet lowPass(const std::vector<Complex>& prototype, double w1) {
    PoleZeroSet plane;
    for (const auto& pole : prototype) {
        plane.poles.push_back(pole * w1);
    }
    return plane;
}

/// s → ω1/s: poles ω1/p, and each pole brings a zero at DC.
PoleZeroSet highPass(const std::vector<Complex>& prototype, double w1) {
    PoleZeroSet plane;
    for (const auto& pole : prototype) {
        plane.poles.push_back(w1 / pole);
    }
    plane.zeros.assign(prototype.size(), 0.0);
    return plane;
}

/// Both roots of s² − 2h·s + ω0² = 0, that is h·(1 ± √(1 − (ω0/h)²)).
void pushQuadraticRoots(std::vector<Complex>& roots, Complex h, double w0) {
    const Complex root = std::sqrt(1.0 - (w0 / h) * (w0 / h));
    roots.push_back(h * (1.0 + root));
    roots.push_back(h * (1.0 - root));
}

/// s → (s² + ω0²) / (Δω·s) with ω0 = √(ω1·ω2), Δω = ω2 − ω1: each pole p gives the two roots
/// for h = p·Δω/2; n zeros at DC (and n at infinity).
PoleZeroSet bandPass(const std::vector<Complex>& prototype, double w1, double w2) {
    const double w0 = std::sqrt(w1 * w2);
    PoleZeroSet plane;
    for (const auto& pole : prototype) {
        pushQuadraticRoots(plane.poles, pole * (w2 - w1) / 2.0, w0);
    }
    plane.zeros.assign(prototype.size(), 0.0);
    return plane;
}

/// s → Δω·s / (s² + ω0²): each pole p gives the two roots for h = Δω/(2p); n zeros at
/// each of ±jω0.
PoleZeroSet bandStop(const std::vector<Complex>& prototype, double w1, double w2) {
    const double w0 = std::sqrt(w1 * w2);
    PoleZeroSet plane;
    for (const auto& pole : prototype) {
        pushQuadraticRoots(plane.poles, (w2 - w1) / (2.0 * pole), w0);
        plane.zeros.emplace_back(0.0, w0);
        plane.zeros.emplace_back(0.0, -w0);
    }
    return plane;
}

} // namespace

double warpedCorner(double fc, unsigned options) {
    if (options & (requestbits::noPreWarp | requestbits::matchedZ)) {
        return fc;
    }
    return std::tan(pi * fc) / pi;
}

PoleZeroSet transformBand(const std::vector<Complex>& prototype, const Request& request) {
    const double w1 = 2.0 * pi * warpedCorner(request.fc1, request.options);
    const double w2 = 2.0 * pi * warpedCorner(request.fc2, request.options);
    switch (request.options & requestbits::bands) {
    case requestbits::highPass:
        return highPass(prototype, w1);
    case requestbits::bandPass:
        return bandPass(prototype, w1, w2);
    case requestbits::bandStop:
        return bandStop(prototype, w1, w2);
    default:
        return lowPass(prototype, w1);
    }
}

} // namespace nodara::filterdesign
