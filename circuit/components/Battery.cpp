#include "circuit/components/Battery.h"

#include "runtime/Exceptions.h"

namespace nodara {

void Battery::configure(const Properties& properties) { configureSource(properties, "Battery"); }

void Battery::readVoltageProperties(const Properties& properties) {
    requireProperty(properties, "Voltage", voltage, scalarParser,
                    InvalidArgumentException("Voltage is not defined. Battery name=" + name));
    setSourceValue(voltage);
}

void Battery::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Voltage") {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". Battery name=" + name);
    }
    voltage = value;
    markMatrixChanged();
}

} // namespace nodara
