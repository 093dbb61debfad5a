#pragma once

#include <complex>
#include <numbers>

namespace nodara::filterdesign {

/// Poles, zeros and polynomial coefficients of a design are complex doubles.
using Complex = std::complex<double>;

inline constexpr double pi = std::numbers::pi;

} // namespace nodara::filterdesign
