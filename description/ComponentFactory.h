#pragma once

#include <string>

namespace nodara {

class Component;

/// Makes circuit components from the `Type` text of an element of an "MNA" graph: Battery,
/// VoltageInputSource, Resistor, Capacitor, Potentiometer, IdealAmplifier,
/// IdealDifferentialAmplifier, OpAmp, LookupTableAmp, Triode, Pentode. Exact names.
class ComponentFactory {
public:
    virtual ~ComponentFactory() = default;
    /// A new component, owned by the caller; an unknown type throws "Unknown element type: ".
    virtual Component* create(const std::string& type);
};

} // namespace nodara
