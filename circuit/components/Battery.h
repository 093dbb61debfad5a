#pragma once

#include "circuit/components/VoltageSource.h"

namespace nodara {

/// A constant voltage source: "Voltage" (V) from minus to plus. A new value given by
/// propertyChanged is stored only; it takes effect with propertiesChanged.
class Battery : public VoltageSource {
public:
    const scalar* getRhs(scalar*) override { return rhs; }
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;
    void readVoltageProperties(const Properties& properties) override;

private:
    scalar voltage = 0.0f;
};

} // namespace nodara
