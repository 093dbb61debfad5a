#pragma once

#include "filterdesign/IirDesignContext.h"

namespace nodara::filterdesign {

/// Bits of the design core's request word.
namespace requestbits {
inline constexpr unsigned bessel = 0x00001;
inline constexpr unsigned butterworth = 0x00002;
/// Chebyshev, with the request's ripple.
inline constexpr unsigned chebyshev = 0x00004;
inline constexpr unsigned resonator = 0x00008;
inline constexpr unsigned proportionalIntegrator = 0x00010;
inline constexpr unsigned lowPass = 0x00020;
inline constexpr unsigned highPass = 0x00040;
inline constexpr unsigned bandPass = 0x00080;
inline constexpr unsigned bandStop = 0x00100;
inline constexpr unsigned allPass = 0x00200;
inline constexpr unsigned cornerGiven = 0x00400;
inline constexpr unsigned orderGiven = 0x01000;
inline constexpr unsigned noPreWarp = 0x04000;
inline constexpr unsigned matchedZ = 0x08000;

inline constexpr unsigned families =
    bessel | butterworth | chebyshev | resonator | proportionalIntegrator;
inline constexpr unsigned bands = lowPass | highPass | bandPass | bandStop | allPass;
inline constexpr unsigned twoEdged = bandPass | bandStop;
} // namespace requestbits

/// What the design core is asked for: the request word and the values its bits refer to.
struct Request {
    /// OR of `requestbits`.
    unsigned options = 0;
    int32 order = 0;
    /// Corners as fractions of the sample rate; fc2 only for the two-edged bands.
    double fc1 = 0.0;
    double fc2 = 0.0;
    /// Chebyshev pass-band ripple in dB, negative.
    double ripple = 0.0;
};

/// The request word of a context: one family bit, each band with the corner bit, the
/// warping bits, and the order bit always.
Request makeRequest(const IirDesignContext& context);

/// Throws NodaraException with the message of the first check that fails.
void validate(const Request& request);

} // namespace nodara::filterdesign
