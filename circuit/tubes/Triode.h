#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"
#include "circuit/tubes/NKTriodeAnodeCurrent.h"
#include "circuit/tubes/PowerLawGridCurrent.h"

namespace nodara {

/// A triode, nodes anode (p), grid (g), cathode (k): the anode current Ip(Vgk, Vpk) of
/// Koren's law flows from p to k, the grid current Ig(Vgk) of a power law from g to k. Both
/// come with their slopes, so that Newton's method sees the true Jacobian
///   row p: [ b, a, −a − b ],  row g: [ 0, c, −c ],  row k: [ −b, −a − c, a + b + c ]
/// with a = dIp/dVgk, b = dIp/dVpk, c = dIg/dVgk.
///
/// Properties: `Type` names a built-in set ("12AX7", "12AY7") whose parameters the document's
/// own entries override; the law parameters of NKTriodeAnodeCurrent and PowerLawGridCurrent.
///
/// Each evaluation first conditions the iterate: anode and cathode not below 0 V, the anode
/// not below grid or cathode, and the anode within a factor of two of its last value (which
/// keeps a cold start of a high-gain stage from overshooting); the limited voltages are
/// written back into x.
class Triode : public Component {
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
    /// The grid and anode voltages against the cathode once conditioned.
    struct Voltages {
        scalar vgk;
        scalar vpk;
    };
    struct Currents {
        scalar anode;
        scalar grid;
    };
    /// a = dIp/dVgk, b = dIp/dVpk, c = dIg/dVgk.
    struct Slopes {
        scalar a;
        scalar b;
        scalar c;
    };

    Voltages condition(scalar* x);
    /// Conditions x and evaluates the laws there.
    Currents currentsAt(scalar* x);
    Slopes slopesAt(scalar* x);

    /// Held by value, so that an evaluation calls the laws directly.
    NKTriodeAnodeCurrent anode;
    PowerLawTriodeGridCurrent grid;
    scalar rhs[3] = {0.0f, 0.0f, 0.0f};
    StampMatrix jacobian{3, 3};
    /// The anode voltage of the last evaluation, across iterations and samples; 0 at first.
    scalar lastVp = 0.0f;
};

} // namespace nodara
