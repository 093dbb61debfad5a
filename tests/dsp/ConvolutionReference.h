#pragma once

// Plain time-domain convolution in double precision, the reference for the FFT convolver.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace reference {

/// y[t] = Σ_k h[k]·x[t−k] for t < x.size(), starting from silence.
inline std::vector<double> convolve(const std::vector<float>& x, const std::vector<float>& h) {
    std::vector<double> y(x.size(), 0.0);
    for (size_t t = 0; t < x.size(); ++t) {
        double sum = 0.0;
        for (size_t k = 0; k < h.size() && k <= t; ++k) {
            sum += static_cast<double>(h[k]) * x[t - k];
        }
        y[t] = sum;
    }
    return y;
}

/// Seeded uniform noise in [−1, 1).
inline std::vector<float> noise(size_t count, std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(count);
    for (float& sample : out) {
        sample = uniform(generator);
    }
    return out;
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

} // namespace reference
