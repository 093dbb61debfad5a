#include "filterdesign/BesselPoles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace nodara::filterdesign {

namespace {

// Long double for the root search and the corner, so that the rounding to double is the
// only error left in the poles.
using Real = long double;
using LongComplex = std::complex<Real>;
using Polynomial = std::vector<Real>;

constexpr int32 maxOrder = 10;

/// The reverse Bessel polynomial θn(s) = Σ c[k]·s^k, c[k] = (2n−k)! / (2^(n−k)·k!·(n−k)!),
/// lowest power first. Its roots are the poles of the unit-delay Bessel filter θn(0)/θn(s).
/// From c[n] = 1 down by c[k] = c[k+1]·(2n−k)(k+1) / (2(n−k)); every step is exact for n ≤ 10.
Polynomial reverseBesselPolynomial(int32 n) {
    Polynomial c(n + 1);
    c[n] = 1.0L;
    for (int32 k = n - 1; k >= 0; --k) {
        c[k] = c[k + 1] * Real(2 * n - k) * Real(k + 1) / Real(2 * (n - k));
    }
    return c;
}

LongComplex evaluate(const Polynomial& c, LongComplex s) {
    LongComplex sum = 0.0L;
    for (auto k = c.rbegin(); k != c.rend(); ++k) {
        sum = sum * s + *k;
    }
    return sum;
}

LongComplex evaluateDerivative(const Polynomial& c, LongComplex s) {
    LongComplex sum = 0.0L;
    for (std::size_t k = c.size() - 1; k >= 1; --k) {
        sum = sum * s + Real(k) * c[k];
    }
    return sum;
}

/// All roots of a monic polynomial by the Durand–Kerner iteration
/// z[i] ← z[i] − p(z[i]) / Π(j≠i) (z[i] − z[j]), started on a circle of the roots' geometric
/// mean radius |c[0]|^(1/n), then each polished by Newton steps.
std::vector<LongComplex> roots(const Polynomial& c) {
    const auto n = c.size() - 1;
    const Real radius = std::pow(std::abs(c[0]), 1.0L / Real(n));
    std::vector<LongComplex> z(n);
    for (std::size_t i = 0; i < n; ++i) {
        z[i] = std::polar(radius, 0.4L + 2.0L * std::numbers::pi_v<Real> * Real(i) / Real(n));
    }
    for (int iteration = 0; iteration < 500; ++iteration) {
        for (std::size_t i = 0; i < n; ++i) {
            LongComplex product = 1.0L;
            for (std::size_t j = 0; j < n; ++j) {
                if (j != i) {
                    product *= z[i] - z[j];
                }
            }
            z[i] -= evaluate(c, z[i]) / product;
        }
    }
    for (auto& root : z) {
        for (int step = 0; step < 3; ++step) {
            root -= evaluate(c, root) / evaluateDerivative(c, root);
        }
    }
    return z;
}

/// The pairs as exact conjugates, upper one first, then the real root of an odd degree.
std::vector<LongComplex> conjugateOrdered(std::vector<LongComplex> z) {
    std::sort(z.begin(), z.end(),
              [](const LongComplex& p, const LongComplex& q) { return p.imag() > q.imag(); });
    const std::size_t pairs = z.size() / 2;
    std::vector<LongComplex> ordered;
    for (std::size_t i = 0; i < pairs; ++i) {
        ordered.push_back(z[i]);
        ordered.push_back(std::conj(z[i]));
    }
    if (z.size() % 2 == 1) {
        ordered.emplace_back(z[pairs].real(), 0.0L);
    }
    return ordered;
}

/// The ω at which |θn(0) / θn(jω)|² = 1/2, by bisection; the gain falls monotonically.
Real halfPowerFrequency(const Polynomial& c) {
    const auto gainBelowHalfPower = [&c](Real omega) {
        return std::norm(evaluate(c, LongComplex(0.0L, omega))) > 2.0L * c[0] * c[0];
    };
    Real low = 0.0L;
    Real high = 1.0L;
    while (!gainBelowHalfPower(high)) {
        low = high;
        high *= 2.0L;
    }
    for (Real middle = (low + high) / 2.0L; middle > low && middle < high;
         middle = (low + high) / 2.0L) {
        (gainBelowHalfPower(middle) ? high : low) = middle;
    }
    return (low + high) / 2.0L;
}

std::vector<Complex> halfPowerNormalisedPoles(int32 order) {
    const Polynomial c = reverseBesselPolynomial(order);
    const Real corner = halfPowerFrequency(c);
    std::vector<Complex> poles;
    for (const auto& pole : conjugateOrdered(roots(c))) {
        poles.emplace_back(static_cast<double>(pole.real() / corner),
                           static_cast<double>(pole.imag() / corner));
    }
    return poles;
}

std::array<std::vector<Complex>, maxOrder + 1> computeTable() {
    std::array<std::vector<Complex>, maxOrder + 1> table;
    for (int32 order = 1; order <= maxOrder; ++order) {
        table[order] = halfPowerNormalisedPoles(order);
    }
    return table;
}

} // namespace

const std::vector<Complex>& besselPoles(int32 order) {
    static const auto table = computeTable();
    if (order < 1) {
        throw std::out_of_range("besselPoles: order must be 1 to 10");
    }
    return table.at(static_cast<std::size_t>(order));
}

} // namespace nodara::filterdesign
