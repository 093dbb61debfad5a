#include "filterdesign/Recurrence.h"

#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara::filterdesign {

namespace {

/// Above this, an imaginary part is a pole or zero without its conjugate, not rounding.
constexpr double imaginaryTolerance = 1.0e-10;

/// Π(z − root), lowest power first; the highest coefficient is 1.
std::vector<Complex> multiplyOut(const std::vector<Complex>& roots) {
    std::vector<Complex> c{1.0};
    for (const auto& root : roots) {
        c.push_back(0.0);
        for (std::size_t k = c.size() - 1; k > 0; --k) {
            c[k] = c[k - 1] - root * c[k];
        }
        c[0] *= -root;
    }
    return c;
}

std::vector<double> realParts(const std::vector<Complex>& coefficients) {
    std::vector<double> real;
    for (const auto& c : coefficients) {
        if (std::abs(c.imag()) > imaginaryTolerance) {
            throw NodaraException("poles/zeros not complex conjugates");
        }
        real.push_back(c.real());
    }
    return real;
}

/// |Π(z − root)|, the value of the monic polynomial from its roots. Near a cluster of roots
/// (a high order at a low corner puts them all close to z = 1) the expanded coefficients
/// cancel to nothing, while the product keeps full relative precision.
double distanceProduct(const std::vector<Complex>& roots, Complex z) {
    double product = 1.0;
    for (const auto& root : roots) {
        product *= std::abs(z - root);
    }
    return product;
}

} // namespace

Recurrence expand(const PoleZeroSet& zPlane, Complex unityPoint) {
    const std::vector<double> top = realParts(multiplyOut(zPlane.zeros));
    const std::vector<double> bottom = realParts(multiplyOut(zPlane.poles));
    if (top.size() > bottom.size()) {
        throw NodaraException("too many zeros");
    }
    const double gain =
        distanceProduct(zPlane.zeros, unityPoint) / distanceProduct(zPlane.poles, unityPoint);
    // Dividing top and bottom by z^N (N poles, bottom monic) turns the coefficient of z^(N−i)
    // into that of x[n−i] and of y[n−i]; a top of lower degree starts b with zeros.
    const std::size_t n = bottom.size() - 1;
    Recurrence recurrence{std::vector<double>(n), std::vector<double>(n + 1, 0.0)};
    for (std::size_t i = 0; i <= n; ++i) {
        if (n - i < top.size()) {
            recurrence.b[i] = top[n - i] / gain;
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        recurrence.a[i] = bottom[n - 1 - i];
    }
    return recurrence;
}

} // namespace nodara::filterdesign
