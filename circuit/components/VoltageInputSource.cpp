#include "circuit/components/VoltageInputSource.h"

#include "runtime/Exceptions.h"

namespace nodara {

void VoltageInputSource::configure(const Properties& properties) {
    configureSource(properties, "VoltageInputSource");
    requireProperty(
        properties, "InputNumber", inputNumber, intParser,
        InvalidArgumentException("InputNumber is not defined. VoltageInputSource name=" + name));
}

void VoltageInputSource::readVoltageProperties(const Properties& properties) {
    readProperty(properties, "DCOffset", dcOffset, scalarParser);
}

void VoltageInputSource::connectInputs(const std::shared_ptr<std::vector<scalar>>& values) {
    if (values && (inputNumber < 0 || static_cast<size_t>(inputNumber) >= values->size())) {
        throw InvalidArgumentException(concat("InputNumber is out of range. VoltageInputSource name=",
                                              name, ", InputNumber=", inputNumber,
                                              ", number of inputs=", values->size()));
    }
    inputs = values;
}

const scalar* VoltageInputSource::getRhs(scalar*) {
    const scalar value = inputs ? (*inputs)[static_cast<size_t>(inputNumber)] : 0.0f;
    setSourceValue(dcOffset + value);
    return rhs;
}

void VoltageInputSource::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "DCOffset") {
        throw InvalidArgumentException("propertyChanged: Invalid property name: " + propertyName +
                                       ". VoltageInputSource name=" + name);
    }
    dcOffset = value;
}

} // namespace nodara
