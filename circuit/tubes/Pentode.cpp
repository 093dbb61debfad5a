#include "circuit/tubes/Pentode.h"

#include "circuit/tubes/AnodeLimit.h"
#include "circuit/tubes/TubeSets.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>

namespace nodara {

void Pentode::configure(const Properties& properties) {
    requireNodeCount(4, "Pentode must have four nodes");
    Properties laws = properties;
    if (auto type = properties.find("Type"); type != properties.end()) {
        addPentodeSet(type->second, laws);
    }
    grid.setProperties(laws);
    anode.setProperties(laws);
    screen.setProperties(laws);
}

// In locals, as a write to x might otherwise be taken to change a field, read back after it;
// the fields keep the voltages for the messages.
Pentode::Voltages Pentode::condition(scalar* x) {
    const scalar s = notBelowZero(voltageAt(x, 1));
    const scalar g = voltageAt(x, 2);
    const scalar k = notBelowZero(voltageAt(x, 3));
    const scalar p = limitAnode(notBelowZero(voltageAt(x, 0)), g, k, lastVp);
    lastVp = p;
    setVoltageAt(x, 3, k);
    setVoltageAt(x, 0, p);
    setVoltageAt(x, 1, s);
    vp = p;
    vs = s;
    vg = g;
    vk = k;
    return {g - k, p - k, s - k};
}

void Pentode::reportNotFinite(const char* what, scalar value, bool withScreen) const {
    std::string message = concat("Pentode: ", what, " is not a valid number: ", value, ", vg=", vg,
                                 ", vp=", vp, ", vk=", vk);
    if (withScreen) {
        message += concat(", vs=", vs);
    }
    throw NodaraException(message);
}

const scalar* Pentode::getRhs(scalar* x) {
    const auto [vgk, vpk, vsk] = condition(x);
    rhs[2] = -grid.getCurrent(vgk, vpk, vsk);
    rhs[1] = -screen.getCurrent(vgk, vpk, vsk);
    rhs[0] = -anode.getCurrent(vgk, vpk, vsk);
    rhs[3] = -rhs[2] - rhs[0] - rhs[1];
    requireFinite("rhs[p]", rhs[0], false);
    requireFinite("rhs[s]", rhs[1], false);
    requireFinite("rhs[g]", rhs[2], false);
    requireFinite("rhs[k]", rhs[3], false);
    return rhs;
}

Component::Stamp Pentode::getJacobian(scalar* x) {
    const auto [vgk, vpk, vsk] = condition(x);
    const PentodeSlopes a = anode.getDerivatives(vgk, vpk, vsk);
    const PentodeSlopes s = screen.getDerivatives(vgk, vpk, vsk);
    const scalar g0 = grid.getDerivatives(vgk, vpk, vsk).byVgk;
    requireFinite("dIgdV", g0, true);
    requireFinite("dIpdVgk", a.byVgk, true);
    requireFinite("dIpdVpk", a.byVpk, true);
    requireFinite("dIpdVsk", a.byVsk, true);
    requireFinite("dIsdVgk", s.byVgk, true);
    requireFinite("dIsdVsk", s.byVsk, true);
    const scalar rows[4][4] = {
        {a.byVpk, a.byVsk, a.byVgk, -a.byVgk - a.byVpk - a.byVsk},
        {0.0f, s.byVsk, s.byVgk, -s.byVgk - s.byVsk},
        {0.0f, 0.0f, g0, -g0},
        {-a.byVpk, -s.byVsk, -a.byVgk - g0 - s.byVgk,
         a.byVpk + a.byVgk + a.byVsk + g0 + s.byVgk + s.byVsk},
    };
    for (size_t r = 0; r < 4; ++r) {
        std::copy(rows[r], rows[r] + 4, jacobian[r]);
    }
    return jacobian.rows();
}

void Pentode::addRhsTo(scalar* x, scalar* out) {
    const scalar* values = getRhs(x);
    for (size_t terminal = 0; terminal < 4; ++terminal) {
        if (indexOf(terminal) >= 0) {
            out[indexOf(terminal)] += values[terminal];
        }
    }
}

void Pentode::addJacobianTo(scalar* x, scalar* const* targets) {
    const Stamp rows = getJacobian(x);
    for (size_t r = 0; r < 4; ++r) {
        for (size_t c = 0; c < 4; ++c) {
            *targets[4 * r + c] += rows[r][c];
        }
    }
}

} // namespace nodara
