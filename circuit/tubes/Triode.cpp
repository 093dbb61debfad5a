#include "circuit/tubes/Triode.h"

#include "circuit/tubes/TubeSets.h"

#include <algorithm>

namespace nodara {

void Triode::configure(const Properties& properties) {
    requireNodeCount(3, "Triode must have three nodes");
    Properties laws = properties;
    if (auto type = properties.find("Type"); type != properties.end()) {
        addTriodeSet(type->second, laws);
    }
    grid.setProperties(laws);
    anode.setProperties(laws);
}

void Triode::condition(scalar* x) {
    vp = voltageAt(x, 0);
    vg = voltageAt(x, 1);
    vk = voltageAt(x, 2);
    if (!(vp >= 0.0f)) {
        vp = 0.0f;
    }
    if (!(vk >= 0.0f)) {
        vk = 0.0f;
    }
    vp = std::max(vp, std::max(vg, vk));
    if (lastVp > 0.0f) {
        vp = std::min(std::max(vp, 0.5f * lastVp), 2.0f * lastVp);
    }
    lastVp = vp;
    if (indexOf(2) >= 0) {
        x[indexOf(2)] = vk;
    }
    if (indexOf(0) >= 0) {
        x[indexOf(0)] = vp;
    }
}

const scalar* Triode::getRhs(scalar* x) {
    condition(x);
    const scalar vgk = vg - vk;
    const scalar vpk = vp - vk;
    const scalar ig = grid.getCurrent(vgk, vpk);
    const scalar ip = anode.getCurrent(vgk, vpk);
    rhs[1] = -ig;
    rhs[0] = -ip;
    rhs[2] = ip + ig;
    return rhs;
}

Component::Stamp Triode::getJacobian(scalar* x) {
    condition(x);
    const scalar vgk = vg - vk;
    const scalar vpk = vp - vk;
    const CurrentSlopes slopes = anode.getDerivatives(vgk, vpk);
    const scalar a = slopes.byVgk;
    const scalar b = slopes.byVpk;
    const scalar c = grid.getDerivatives(vgk, vpk).byVgk;
    jacobian[0][0] = b;
    jacobian[0][1] = a;
    jacobian[0][2] = -a - b;
    jacobian[1][1] = c;
    jacobian[1][2] = -c;
    jacobian[2][0] = -b;
    jacobian[2][1] = -a - c;
    jacobian[2][2] = a + b + c;
    return jacobian.rows();
}

} // namespace nodara
