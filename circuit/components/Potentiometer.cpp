#include "circuit/components/Potentiometer.h"

#include "runtime/Exceptions.h"

#include <algorithm>

namespace nodara {

void Potentiometer::configure(const Properties& properties) {
    requireNodeCount(3, "Potentiometer must have three nodes");
    readProperties(properties);
}

void Potentiometer::readProperties(const Properties& properties) {
    scalar value = 0.0f;
    requireProperty(
        properties, "Resistance", value, scalarParser,
        InvalidArgumentException("Resistance is not defined. Potentiometer name=" + name));
    setResistance(value);
    requireProperty(properties, "Wiper", value, scalarParser,
                    InvalidArgumentException("Wiper is not defined. Potentiometer name=" + name));
    setWiper(value);
}

void Potentiometer::setResistance(scalar value) {
    if (!(value > 0.0f)) {
        throw InvalidArgumentException(
            concat("Resistance cannot be negative or zero. Potentiometer name=", name,
                   ", value=", value));
    }
    resistance = value;
    updateConductances();
}

void Potentiometer::setWiper(scalar value) {
    if (!(value >= 0.0f && value <= 1.0f)) {
        throw InvalidArgumentException(concat(
            "Wiper value must be between 0 and 1. Potentiometer name=", name, ", value=", value));
    }
    wiper = std::min(std::max(value, 0.001f), 0.999f);
    updateConductances();
}

void Potentiometer::updateConductances() {
    g1 = 1.0f / (resistance * wiper);
    g2 = 1.0f / ((1.0f - wiper) * resistance);
}

// Rows and columns a, wiper, b; the corners a–b stay 0.
Component::Stamp Potentiometer::getConductanceMatrix() {
    g[0][0] = g1;
    g[0][1] = -g1;
    g[1][0] = -g1;
    g[1][1] = g1 + g2;
    g[1][2] = -g2;
    g[2][1] = -g2;
    g[2][2] = g2;
    return g.rows();
}

void Potentiometer::propertiesChanged(const Properties& properties) {
    readProperties(properties);
    markMatrixChanged();
}

void Potentiometer::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName == "Wiper") {
        setWiper(value);
    } else if (propertyName == "Resistance") {
        setResistance(value);
    } else {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". Potentiometer name=" + name);
    }
    markMatrixChanged();
}

} // namespace nodara
