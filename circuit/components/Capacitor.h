#pragma once

#include "circuit/Component.h"
#include "circuit/MNAEventListener.h"
#include "circuit/StampMatrix.h"

namespace nodara {

/// A capacitor by the trapezoidal rule in companion form, one sample per step: the current
/// from a to b is i = g·v + h with g = 2·C·rate and the history
///   h = −2·g·v[n−1] − h[n−1]   (h = −g·v on the first step, taking no current before it).
/// h goes to the right-hand side (−h at a, +h at b) and is updated in `timeStep`, from the
/// finished sample, before each solve; inside a Newton loop it stays constant. In DC analysis
/// the capacitor is an open circuit and stamps nothing. "Capacitance" (F) may change while
/// running.
class Capacitor : public Component, public MNAEventListener {
public:
    Stamp getConductanceMatrix() override;
    const scalar* getRhs(scalar* x) override;
    bool hasRhs() override { return true; }
    void propertiesChanged(const Properties& properties) override;
    void propertyChanged(const std::string& propertyName, scalar value) override;

    void samplingRateChanged(scalar newRate) override;
    void timeStep() override;
    void analysisChanged(int32 oldMode, int32 newMode) override;

protected:
    void configure(const Properties& properties) override;

private:
    void readCapacitance(const Properties& properties);
    void setCapacitance(scalar value);
    /// Takes the context's rate while the capacitor has none of its own.
    void ensureRate();
    bool isDC() const;

    StampMatrix g{2, 2};
    scalar rhs[2] = {0.0f, 0.0f};
    scalar capacitance = 0.0f;
    /// Hz; −1 until known.
    scalar rate = -1.0f;
    scalar conductance = 0.0f;
    scalar history = 0.0f;
    bool firstStep = true;
};

} // namespace nodara
