#pragma once

#include "circuit/Component.h"

namespace nodara {

/// v(out) = Gain·v(in), nodes in, out; out is a fixed-voltage node. The input is read from the
/// iterate, so a linear solver sees the previous sample's: the amplifier lags by one solve.
/// "Gain" may change while running.
class IdealAmplifier : public Component {
public:
    const scalar* getRhs(scalar* x) override;
    bool hasRhs() override { return true; }
    bool rhsReadsIterate() override { return true; }
    bool isFixedVoltage() override { return true; }
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;

private:
    scalar rhs[2] = {0.0f, 0.0f};
    scalar gain = 0.0f;
};

/// v(out) = Gain·(v(plus) − v(minus)), nodes plus, minus, out; as IdealAmplifier.
class IdealDifferentialAmplifier : public Component {
public:
    const scalar* getRhs(scalar* x) override;
    bool hasRhs() override { return true; }
    bool rhsReadsIterate() override { return true; }
    bool isFixedVoltage() override { return true; }
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;

private:
    scalar rhs[3] = {0.0f, 0.0f, 0.0f};
    scalar gain = 0.0f;
};

} // namespace nodara
