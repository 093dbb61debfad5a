#pragma once

#include "runtime/Properties.h"
#include "runtime/Types.h"

namespace nodara {

/// The partial derivatives of a current (A/V).
struct CurrentSlopes {
    scalar byVgk = 0.0f;
    scalar byVpk = 0.0f;
};

/// A current law of a triode, as a function of the grid and anode voltages against the
/// cathode (V), in amperes. Laws may compute in doubles; they answer in floats.
class TriodeCurrent {
public:
    virtual ~TriodeCurrent() = default;
    /// Reads the law's parameters; may build tables.
    virtual void setProperties(const Properties& properties) = 0;
    virtual scalar getCurrent(scalar vgk, scalar vpk) = 0;
    virtual CurrentSlopes getDerivatives(scalar vgk, scalar vpk) = 0;
};

} // namespace nodara
