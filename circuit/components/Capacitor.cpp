#include "circuit/components/Capacitor.h"

#include "circuit/MNAContext.h"
#include "runtime/Exceptions.h"

namespace nodara {

void Capacitor::configure(const Properties& properties) {
    requireNodeCount(2, "Capacitor must have two nodes");
    readCapacitance(properties);
}

void Capacitor::readCapacitance(const Properties& properties) {
    scalar value = 0.0f;
    requireProperty(properties, "Capacitance", value, scalarParser,
                    InvalidArgumentException("Capacitance is not defined. Capacitor name=" + name));
    setCapacitance(value);
}

void Capacitor::setCapacitance(scalar value) {
    if (!(value >= 0.0f)) {
        throw InvalidArgumentException(
            concat("propertyChanged: Capacitance cannot be negative. Capacitor name=", name,
                   ", value=", value));
    }
    capacitance = value;
    if (rate > 0.0f) {
        conductance = 2.0f * capacitance * rate;
    }
}

void Capacitor::samplingRateChanged(scalar newRate) {
    if (!(newRate > 0.0f)) {
        throw InvalidArgumentException(concat("Capacitor: Invalid sampling rate: ", newRate));
    }
    rate = newRate;
    conductance = (capacitance * 2.0f) * rate;
}

void Capacitor::ensureRate() {
    if (rate > 0.0f) {
        return;
    }
    const scalar contextRate = context->getSampleRate();
    if (!(contextRate > 0.0f)) {
        throw NodaraException("Capacitor: Sampling Rate has not been set for AC analysis");
    }
    samplingRateChanged(contextRate);
}

bool Capacitor::isDC() const { return context->getAnalysisMode() == 0; }

Component::Stamp Capacitor::getConductanceMatrix() {
    if (isDC()) {
        return nullptr;
    }
    ensureRate();
    g[0][0] = conductance;
    g[0][1] = -conductance;
    g[1][0] = -conductance;
    g[1][1] = conductance;
    return g.rows();
}

const scalar* Capacitor::getRhs(scalar*) {
    if (isDC()) {
        return nullptr;
    }
    ensureRate();
    return rhs;
}

void Capacitor::timeStep() {
    if (isDC()) {
        return;
    }
    ensureRate();
    const scalar* x = context->getSolution().data();
    const scalar v = voltageAt(x, 0) - voltageAt(x, 1);
    if (firstStep) {
        firstStep = false;
        history = -conductance * v;
    } else {
        history = -2.0f * conductance * v - history;
    }
    rhs[0] = -history;
    rhs[1] = history;
}

// After an operating point the first step takes the capacitor as carrying no current.
void Capacitor::analysisChanged(int32 oldMode, int32 newMode) {
    if (oldMode == newMode || oldMode == 1) {
        return;
    }
    firstStep = true;
    history = 0.0f;
}

void Capacitor::propertiesChanged(const Properties& properties) {
    readCapacitance(properties);
    markMatrixChanged();
}

void Capacitor::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Capacitance") {
        throw InvalidArgumentException("propertyChanged: Invalid property: " + propertyName +
                                       ". Capacitor name=" + name);
    }
    setCapacitance(value);
    markMatrixChanged();
}

} // namespace nodara
