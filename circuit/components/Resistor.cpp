#include "circuit/components/Resistor.h"

#include "runtime/Exceptions.h"

namespace nodara {

namespace {
/// The float nearest 1e12 S: a short is a very large conductance.
constexpr scalar shortCircuit = 999999995904.0f;
} // namespace

void Resistor::configure(const Properties& properties) {
    requireNodeCount(2, "Resistor must have two nodes");
    readResistance(properties);
}

void Resistor::readResistance(const Properties& properties) {
    scalar resistance = 0.0f;
    requireProperty(properties, "Resistance", resistance, scalarParser,
                    InvalidArgumentException("Resistance is not defined. Resistor name=" + name));
    setResistance(resistance, "");
}

void Resistor::setResistance(scalar resistance, const std::string& head) {
    if (!(resistance >= 0.0f)) {
        throw InvalidArgumentException(concat(head, "Resistance cannot be negative. Resistor name=",
                                              name, ", value=", resistance));
    }
    conductance = resistance > 0.0f ? 1.0f / resistance : shortCircuit;
}

Component::Stamp Resistor::getConductanceMatrix() {
    g[0][0] = conductance;
    g[0][1] = -conductance;
    g[1][0] = -conductance;
    g[1][1] = conductance;
    return g.rows();
}

void Resistor::propertiesChanged(const Properties& properties) {
    readResistance(properties);
    markMatrixChanged();
}

void Resistor::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Resistance") {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". Resistor name=" + name);
    }
    setResistance(value, "propertyChanged: ");
    markMatrixChanged();
}

} // namespace nodara
