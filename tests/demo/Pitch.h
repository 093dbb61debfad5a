#pragma once

#include <cmath>
#include <vector>

namespace nodara::testing {

/// The fundamental in Hz of `signal[first, first + length)` by normalised autocorrelation: the
/// shortest lag whose correlation comes within 10% of the best between 50 and 2000 Hz (so a
/// period is not mistaken for its double), refined by a parabola through its neighbours.
inline double autocorrelationPitch(const std::vector<float>& signal, size_t first, size_t length,
                                   double rate) {
    const auto shortest = static_cast<size_t>(rate / 2000.0);
    const auto longest = static_cast<size_t>(rate / 50.0);
    std::vector<double> correlation(longest + 2, 0.0);
    for (size_t lag = shortest - 1; lag <= longest + 1; ++lag) {
        double product = 0.0, early = 0.0, late = 0.0;
        for (size_t i = first; i < first + length; ++i) {
            product += double(signal[i]) * signal[i + lag];
            early += double(signal[i]) * signal[i];
            late += double(signal[i + lag]) * signal[i + lag];
        }
        correlation[lag] = product / std::sqrt(early * late + 1e-300);
    }
    double best = 0.0;
    for (size_t lag = shortest; lag <= longest; ++lag) {
        best = std::max(best, correlation[lag]);
    }
    for (size_t lag = shortest; lag <= longest; ++lag) {
        const bool peak =
            correlation[lag] >= correlation[lag - 1] && correlation[lag] >= correlation[lag + 1];
        if (peak && correlation[lag] >= 0.9 * best) {
            const double a = correlation[lag - 1], b = correlation[lag], c = correlation[lag + 1];
            const double offset = 0.5 * (a - c) / (a - 2.0 * b + c);
            return rate / (static_cast<double>(lag) + offset);
        }
    }
    return 0.0;
}

} // namespace nodara::testing
