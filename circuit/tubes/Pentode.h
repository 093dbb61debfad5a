#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"
#include "circuit/tubes/PentodeCurrents.h"

#include <cmath>

namespace nodara {

/// A pentode (or beam tetrode), nodes anode (p), screen (s), grid (g), cathode (k): Koren's
/// anode and screen currents and the grid power law, all flowing to the cathode, with their
/// slopes for Newton's method (rows and columns p, s, g, k):
///   row p: [ a1, a2, a0, −a0 − a1 − a2 ]
///   row s: [ 0, s2, s0, −s0 − s2 ]
///   row g: [ 0, 0, g0, −g0 ]
///   row k: [ −a1, −s2, −a0 − g0 − s0, a0 + a1 + a2 + g0 + s0 + s2 ]
/// (a: anode, s: screen, g: grid current; 0, 1, 2: by Vgk, Vpk, Vsk). Entry (k, s) leaves out
/// −a2 although the diagonal holds it: that is this component's stamp.
///
/// Properties: `Type` names a built-in set ("JJEL34", "5881", "GE6L6GC", "KT66", "GE6V6GT")
/// that the document's own entries override, and the law parameters. The iterate is
/// conditioned as a triode's, the screen also held at or above 0 V. A current or slope that
/// is not a finite number stops the simulation with a message naming the voltages.
class Pentode : public Component {
public:
    const scalar* getRhs(scalar* x) override;
    Stamp getJacobian(scalar* x) override;
    bool hasRhs() override { return true; }
    bool rhsReadsIterate() override { return true; }
    bool isNonlinear() override { return true; }
    bool stampsDirectly() override { return true; }
    void addRhsTo(scalar* x, scalar* out) override;
    void addJacobianTo(scalar* x, scalar* const* targets) override;

protected:
    void configure(const Properties& properties) override;

private:
    /// The grid, anode and screen voltages against the cathode once conditioned.
    struct Voltages {
        scalar vgk;
        scalar vpk;
        scalar vsk;
    };

    Voltages condition(scalar* x);
    /// Throws "Pentode: <what> is not a valid number: " unless `value` is finite.
    void requireFinite(const char* what, scalar value, bool withScreen) const {
        if (!std::isfinite(value)) {
            reportNotFinite(what, value, withScreen);
        }
    }
    [[noreturn]] void reportNotFinite(const char* what, scalar value, bool withScreen) const;

    /// Held by value, so that an evaluation calls the laws directly.
    NKPentodeAnodeCurrent anode;
    PowerLawPentodeGridCurrent grid;
    NKPentodeScreenCurrent screen;
    scalar rhs[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    StampMatrix jacobian{4, 4};
    /// The conditioned voltages, for the messages.
    scalar vp = 0.0f;
    scalar vs = 0.0f;
    /// The anode voltage of the last evaluation, across iterations and samples; 0 at first.
    scalar lastVp = 0.0f;
    scalar vg = 0.0f;
    scalar vk = 0.0f;
};

} // namespace nodara
