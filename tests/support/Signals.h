#pragma once

// Test signals and the measurements made on them, shared by the suites.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace nodara::testing {

/// Seeded uniform noise in [−1, 1).
inline std::vector<float> noise(size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(count);
    for (float& sample : out) {
        sample = uniform(generator);
    }
    return out;
}

inline std::vector<float> sine(double frequency, double rate, size_t frames, double amplitude,
                               double offset = 0.0) {
    std::vector<float> out(frames);
    for (size_t i = 0; i < frames; ++i) {
        out[i] = static_cast<float>(offset + amplitude * std::sin(2.0 * std::numbers::pi * frequency *
                                                                  static_cast<double>(i) / rate));
    }
    return out;
}

/// Amplitude of the component at `frequency` in signal[start, end).
inline double amplitudeAt(const std::vector<float>& signal, double frequency, double rate,
                          size_t start) {
    double re = 0.0, im = 0.0;
    for (size_t i = start; i < signal.size(); ++i) {
        const double phase = 2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        re += signal[i] * std::cos(phase);
        im += signal[i] * std::sin(phase);
    }
    return 2.0 * std::hypot(re, im) / static_cast<double>(signal.size() - start);
}

inline double rms(const std::vector<float>& signal, size_t start, size_t end = SIZE_MAX) {
    end = std::min(end, signal.size());
    double energy = 0.0;
    for (size_t i = start; i < end; ++i) {
        energy += double(signal[i]) * signal[i];
    }
    return std::sqrt(energy / static_cast<double>(end - start));
}

inline double peak(const std::vector<float>& signal, size_t start = 0, size_t end = SIZE_MAX) {
    double largest = 0.0;
    for (size_t i = start; i < std::min(end, signal.size()); ++i) {
        largest = std::max(largest, std::fabs(double(signal[i])));
    }
    return largest;
}

/// H(e^(j2πf)) of y[n] = Σ b[i]·x[n−i] − Σ a[i]·y[n−1−i] at f cycles per sample, evaluated
/// directly from the coefficients; no `a` is a plain FIR.
template <class A, class B>
std::complex<double> response(const A& a, const B& b, double f) {
    const std::complex<double> zInverse = std::polar(1.0, -2.0 * std::numbers::pi * f);
    std::complex<double> top = 0.0, bottom = 1.0, power = 1.0;
    for (const auto coefficient : b) {
        top += double(coefficient) * power;
        power *= zInverse;
    }
    power = zInverse;
    for (const auto coefficient : a) {
        bottom += double(coefficient) * power;
        power *= zInverse;
    }
    return top / bottom;
}

inline bool allFinite(const std::vector<float>& signal) {
    return std::all_of(signal.begin(), signal.end(), [](float v) { return std::isfinite(v); });
}

} // namespace nodara::testing
