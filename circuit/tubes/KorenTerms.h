#pragma once

#include <cmath>

// The exponential terms of the Koren laws, in doubles, written so that neither overflows:
// a grid far above cutoff drives u into the hundreds.
namespace nodara::koren {

/// L = ln(1 + e^u) and its slope σ = e^u/(1 + e^u), with one exponential.
struct SoftplusTerms {
    double softplus;
    double logistic;
};

inline SoftplusTerms softplusTerms(double u) {
    const double e = std::exp(-std::fabs(u));
    return {(u > 0.0 ? u : 0.0) + std::log1p(e), u >= 0.0 ? 1.0 / (1.0 + e) : e / (1.0 + e)};
}

} // namespace nodara::koren
