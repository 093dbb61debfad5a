#include "circuit/components/IdealAmplifier.h"

#include "runtime/Exceptions.h"

namespace nodara {

namespace {

scalar readGain(const Properties& properties, const std::string& className,
                          const std::string& name) {
    scalar gain = 0.0f;
    requireProperty(properties, "Gain", gain, scalarParser,
                    InvalidArgumentException("Gain is not defined. " + className + " name=" + name));
    return gain;
}

void refuseName(const std::string& propertyName, const std::string& className,
                const std::string& name) {
    if (propertyName != "Gain") {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". " + className + " name=" + name);
    }
}

} // namespace

void IdealAmplifier::configure(const Properties& properties) {
    requireNodeCount(2, "IdealAmplifier must have two nodes");
    refuseGroundedNodes("IdealAmplifier");
    fixedVoltageNode = nodeNames->back();
    gain = readGain(properties, "IdealAmplifier", name);
}

const scalar* IdealAmplifier::getRhs(scalar* x) {
    rhs[1] = gain * voltageAt(x, 0);
    return rhs;
}

void IdealAmplifier::propertyChanged(const std::string& propertyName, scalar value) {
    refuseName(propertyName, "IdealAmplifier", name);
    gain = value;
}

void IdealDifferentialAmplifier::configure(const Properties& properties) {
    requireNodeCount(3, "IdealDifferentialAmplifier must have three nodes");
    refuseGroundedNodes("IdealDifferentialAmplifier");
    fixedVoltageNode = nodeNames->back();
    gain = readGain(properties, "IdealDifferentialAmplifier", name);
}

const scalar* IdealDifferentialAmplifier::getRhs(scalar* x) {
    rhs[2] = gain * (voltageAt(x, 0) - voltageAt(x, 1));
    return rhs;
}

void IdealDifferentialAmplifier::propertyChanged(const std::string& propertyName, scalar value) {
    refuseName(propertyName, "IdealDifferentialAmplifier", name);
    gain = value;
}

} // namespace nodara
