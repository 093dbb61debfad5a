#include "circuit/tubes/PowerLawGridCurrent.h"

#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara {

void PowerLawGridCurrent::setProperties(const Properties& properties) {
    const std::string head = "PowerLawGridCurrent: ";
    requireProperty(properties, "Vc", vc, doubleParser,
                    InvalidArgumentException(head + "Vc is not defined."));
    requireProperty(properties, "Igc", igc, doubleParser,
                    InvalidArgumentException(head + "Igc is not defined."));
    requireProperty(properties, "N", n, doubleParser,
                    InvalidArgumentException(head + "A is not defined."));
    readProperty(properties, "VgkMax", vgkMax, scalarParser);
    readProperty(properties, "DeltaVgk", deltaVgk, scalarParser);
    readProperty(properties, "DoNotInterpolate", doNotInterpolate, boolParser);
    if (doNotInterpolate) {
        return;
    }
    if (!(deltaVgk > 0.0f) || !(vgkMax > 0.0f)) {
        throw InvalidArgumentException(concat(head, "VgkMax and DeltaVgk must be greater than 0. "
                                                    "VgkMax=", vgkMax, " DeltaVgk=", deltaVgk));
    }
    reciprocalDeltaVgk = 1.0f / deltaVgk;
    const auto size = static_cast<size_t>(vgkMax / deltaVgk) + 2;
    current.resize(size);
    slope.resize(size);
    for (size_t i = 0; i < size; ++i) {
        const double overOnset = static_cast<double>(static_cast<scalar>(i) * deltaVgk);
        const double value = lawCurrent(overOnset);
        current[i] = value > 1e-9 ? static_cast<scalar>(value) : 0.0f;
        slope[i] = static_cast<scalar>(lawSlope(overOnset));
    }
    current[0] = 0.0f;
    current[1] = 0.0f;
}

double PowerLawGridCurrent::lawCurrent(double overOnset) const {
    return igc * std::pow(overOnset, n);
}

double PowerLawGridCurrent::lawSlope(double overOnset) const {
    return igc * (n - 1.0) * std::pow(overOnset, n - 1.0);
}

} // namespace nodara
