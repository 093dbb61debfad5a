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

Triode::Currents Triode::currentsAt(scalar* x) {
    condition(x);
    const scalar vgk = vg - vk;
    const scalar vpk = vp - vk;
    const scalar ig = grid.getCurrent(vgk, vpk);
    return {anode.getCurrent(vgk, vpk), ig};
}

Triode::Slopes Triode::slopesAt(scalar* x) {
    condition(x);
    const scalar vgk = vg - vk;
    const scalar vpk = vp - vk;
    const CurrentSlopes slopes = anode.getDerivatives(vgk, vpk);
    return {slopes.byVgk, slopes.byVpk, grid.getDerivatives(vgk, vpk).byVgk};
}

const scalar* Triode::getRhs(scalar* x) {
    const Currents currents = currentsAt(x);
    rhs[1] = -currents.grid;
    rhs[0] = -currents.anode;
    rhs[2] = currents.anode + currents.grid;
    return rhs;
}

void Triode::addRhsTo(scalar* x, scalar* out) {
    const Currents currents = currentsAt(x);
    const scalar values[3] = {-currents.anode, -currents.grid, currents.anode + currents.grid};
    for (size_t terminal = 0; terminal < 3; ++terminal) {
        if (indexOf(terminal) >= 0) {
            out[indexOf(terminal)] += values[terminal];
        }
    }
}

Component::Stamp Triode::getJacobian(scalar* x) {
    const auto [a, b, c] = slopesAt(x);
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

// The entry (g, p) is 0, added all the same: the sum keeps the sign of a zero as the stamp's does.
void Triode::addJacobianTo(scalar* x, scalar* const* targets) {
    const auto [a, b, c] = slopesAt(x);
    const scalar rows[9] = {b, a, -a - b, 0.0f, c, -c, -b, -a - c, a + b + c};
    for (size_t entry = 0; entry < 9; ++entry) {
        *targets[entry] += rows[entry];
    }
}

} // namespace nodara
