#include "filterdesign/Design.h"

#include "filterdesign/PrototypePoles.h"
#include "filterdesign/ZTransform.h"
#include "runtime/Exceptions.h"

namespace nodara::filterdesign {

namespace {

using namespace requestbits;

void rejectUnimplementedFamilies(unsigned options) {
    if (options & (resonator | proportionalIntegrator)) {
        throw OperationNotSupportedException(
            "filter design: the 2-pole resonator and the proportional integrator are not "
            "implemented");
    }
}

/// Where the band passes, so where its gain is set to 1. A high-pass and a band-pass have
/// zeros at DC, so only the low-pass and the band-stop can be scaled there; the high-pass is
/// scaled at Nyquist (z = −1) and the band-pass at the mean of its two corners.
Complex unityGainPoint(const Request& request) {
    switch (request.options & bands) {
    case highPass:
        return -1.0;
    case bandPass:
        return std::polar(1.0, pi * (request.fc1 + request.fc2));
    default:
        return 1.0;
    }
}

Coefficients narrowed(const std::vector<double>& values) {
    return std::make_shared<std::vector<scalar>>(values.begin(), values.end());
}

} // namespace

Recurrence designRecurrence(const Request& request) {
    validate(request);
    rejectUnimplementedFamilies(request.options);
    const PoleZeroSet sPlane = transformBand(prototypePoles(request), request);
    const PoleZeroSet zPlane =
        (request.options & matchedZ) ? matchedZTransform(sPlane) : bilinearTransform(sPlane);
    return expand(zPlane, unityGainPoint(request));
}

void design(IirDesignContext& context) {
    context.checkBandEdges();
    const Recurrence recurrence = designRecurrence(makeRequest(context));
    context.setCoefficients(narrowed(recurrence.a), narrowed(recurrence.b));
}

} // namespace nodara::filterdesign
