#include "circuit/tubes/Triode.h"

#include "circuit/tubes/AnodeLimit.h"
#include "circuit/tubes/TubeSets.h"

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

// In locals: a write to x might otherwise be taken to change a field, read back after it.
Triode::Voltages Triode::condition(scalar* x) {
    const scalar vg = voltageAt(x, 1);
    const scalar vk = notBelowZero(voltageAt(x, 2));
    const scalar vp = limitAnode(notBelowZero(voltageAt(x, 0)), vg, vk, lastVp);
    lastVp = vp;
    setVoltageAt(x, 2, vk);
    setVoltageAt(x, 0, vp);
    return {vg - vk, vp - vk};
}

Triode::Currents Triode::currentsAt(scalar* x) {
    const auto [vgk, vpk] = condition(x);
    const scalar ig = grid.getCurrent(vgk, vpk);
    return {anode.getCurrent(vgk, vpk), ig};
}

Triode::Slopes Triode::slopesAt(scalar* x) {
    const auto [vgk, vpk] = condition(x);
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
