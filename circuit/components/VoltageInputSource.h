#pragma once

#include "circuit/components/VoltageSource.h"

#include <memory>
#include <vector>

namespace nodara {

/// The circuit's audio input as a voltage: u = DCOffset + input[InputNumber], in volts (a
/// sample of 1.0 is 1 V). Without any circuit inputs it gives DCOffset alone. "DCOffset" may
/// change while running and takes effect at the next solve.
class VoltageInputSource : public VoltageSource {
public:
    const scalar* getRhs(scalar* x) override;
    void propertyChanged(const std::string& propertyName, scalar value) override;
    /// Refuses an InputNumber beyond the circuit's inputs.
    void connectInputs(const std::shared_ptr<std::vector<scalar>>& values) override;

protected:
    void configure(const Properties& properties) override;
    void readVoltageProperties(const Properties& properties) override;

private:
    std::shared_ptr<std::vector<scalar>> inputs;
    scalar dcOffset = 0.0f;
    int32 inputNumber = -1;
};

} // namespace nodara
