#include "circuit/components/OpAmp.h"

#include "runtime/Exceptions.h"

namespace nodara {

OpAmp::OpAmp() {
    b[1][0] = 1.0f;
    c[0][1] = -1.0f;
}

void OpAmp::configure(const Properties& properties) {
    requireNodeCount(3, "OpAmp must have three nodes");
    refuseGroundedNodes("OpAmp");
    scalar gain = 0.0f;
    requireProperty(properties, "Gain", gain, scalarParser,
                    InvalidArgumentException("Gain is not defined. OpAmp name=" + name));
    setGain(gain);
}

void OpAmp::setGain(scalar value) {
    c[0][0] = value;
    c[0][2] = -value;
}

void OpAmp::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Gain") {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". OpAmp name=" + name);
    }
    setGain(value);
    markMatrixChanged();
}

} // namespace nodara
