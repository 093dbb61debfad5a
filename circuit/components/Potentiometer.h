#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"

namespace nodara {

/// A linear potentiometer, nodes: end a, wiper, end b. Resistance·w lies between a and the
/// wiper, Resistance·(1 − w) between the wiper and b. The wiper position w (0..1) is held
/// within 0.001..0.999 so that neither part is a short. "Wiper" and "Resistance" may change
/// while running, so a control can turn the knob.
class Potentiometer : public Component {
public:
    Stamp getConductanceMatrix() override;
    void propertiesChanged(const Properties& properties) override;
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;

private:
    void readProperties(const Properties& properties);
    void setResistance(scalar value);
    void setWiper(scalar value);
    void updateConductances();

    StampMatrix g{3, 3};
    scalar g1 = 0.0f;
    scalar g2 = 0.0f;
    scalar resistance = 0.0f;
    scalar wiper = 0.5f;
};

} // namespace nodara
