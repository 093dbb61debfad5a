#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"

namespace nodara {

/// A resistor between its two nodes: G = [[g, −g], [−g, g]], g = 1/Resistance (ohm). A
/// Resistance of exactly 0 is a short, g = 1e12 S. "Resistance" may change while running.
class Resistor : public Component {
public:
    Stamp getConductanceMatrix() override;
    void propertiesChanged(const Properties& properties) override;
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;

private:
    void readResistance(const Properties& properties);
    /// `head` starts the message of a negative value.
    void setResistance(scalar resistance, const std::string& head);

    StampMatrix g{2, 2};
    scalar conductance = 0.0f;
};

} // namespace nodara
