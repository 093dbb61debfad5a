#include "filterdesign/ZTransform.h"

#include <algorithm>
#include <iterator>

namespace nodara::filterdesign {

namespace {

template <class Map>
PoleZeroSet mapped(const PoleZeroSet& sPlane, Map map) {
    PoleZeroSet zPlane;
    std::transform(sPlane.poles.begin(), sPlane.poles.end(), std::back_inserter(zPlane.poles), map);
    std::transform(sPlane.zeros.begin(), sPlane.zeros.end(), std::back_inserter(zPlane.zeros), map);
    return zPlane;
}

} // namespace

PoleZeroSet bilinearTransform(const PoleZeroSet& sPlane) {
    PoleZeroSet zPlane = mapped(sPlane, [](const Complex& s) { return (2.0 + s) / (2.0 - s); });
    if (zPlane.zeros.size() < zPlane.poles.size()) {
        zPlane.zeros.resize(zPlane.poles.size(), -1.0);
    }
    return zPlane;
}

PoleZeroSet matchedZTransform(const PoleZeroSet& sPlane) {
    return mapped(sPlane, [](const Complex& s) { return std::exp(s); });
}

} // namespace nodara::filterdesign
