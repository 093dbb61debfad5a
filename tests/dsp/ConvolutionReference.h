#pragma once

// Plain time-domain convolution in double precision, the reference for the FFT convolver.

#include "runtime/Filter.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace reference {

using nodara::testing::noise;

/// y[t] = Σ_k h[k]·x[t−k] for t < x.size(), starting from silence.
inline std::vector<double> convolve(const std::vector<float>& x, const std::vector<float>& h) {
    std::vector<double> y(x.size(), 0.0);
    for (size_t t = 0; t < x.size(); ++t) {
        for (size_t k = 0; k < h.size() && k <= t; ++k) {
            y[t] += static_cast<double>(h[k]) * x[t - k];
        }
    }
    return y;
}

/// Largest |a[i] − b[i]|.
inline double maxError(const std::vector<float>& a, const std::vector<double>& b) {
    double worst = 0.0;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
        worst = std::max(worst, std::fabs(a[i] - b[i]));
    }
    return worst;
}

/// Allowed error for inputs in [−1, 1]. Single-precision transforms of up to some ten thousand
/// points err by below 1e-6·‖h‖; a misplaced sample errs by about ‖h‖.
inline double tolerance(const std::vector<float>& h) {
    double energy = 0.0;
    for (float tap : h) {
        energy += static_cast<double>(tap) * tap;
    }
    return 4e-6 * std::sqrt(energy);
}

/// Whether `y` is x convolved with h, within the transforms' rounding and within a millionth
/// of the output's peak.
inline ::testing::AssertionResult matches(const std::vector<float>& y, const std::vector<float>& x,
                                          const std::vector<float>& h) {
    const std::vector<double> exact = convolve(x, h);
    double peak = 0.0;
    for (double value : exact) {
        peak = std::max(peak, std::fabs(value));
    }
    const double error = maxError(y, exact);
    const double allowed = std::min(tolerance(h), 1e-6 * peak);
    if (error < allowed) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "error " << error << ", allowed " << allowed;
}

/// Runs x[from, to) through `filter` in blocks cycling over `blocks`, a block of n frames
/// giving produced(n) frames; returns the outputs.
template <class Produced = std::identity>
std::vector<float> run(nodara::Filter& filter, const std::vector<float>& x,
                       const std::vector<size_t>& blocks, Produced produced = {},
                       size_t from = 0, size_t to = SIZE_MAX) {
    std::vector<float> y;
    to = std::min(to, x.size());
    for (size_t at = from, b = 0; at < to; at += blocks[b++ % blocks.size()]) {
        const size_t n = std::min(blocks[b % blocks.size()], to - at);
        filter.process(std::vector<float*>{const_cast<float*>(x.data() + at)}, n);
        y.insert(y.end(), filter.getOutput(0), filter.getOutput(0) + produced(n));
    }
    return y;
}

} // namespace reference
