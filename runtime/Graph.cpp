#include "runtime/Graph.h"

#include "runtime/Context.h"
#include "runtime/Driver.h"
#include "runtime/Exceptions.h"

namespace nodara {

void Graph::setNumberOfInputs(int32 count) {
    if (count < 0) {
        throw InvalidArgumentException(
            concat("Number of inputs must be greater than zero. Number of inputs =", count));
    }
    numberOfInputs = count;
}

scalar* Graph::getResult(std::string) {
    throw NodaraException("Graph::getResult(std::string outputName) is not yet implemented.");
}

scalar* Graph::getOutput(int32 index) {
    if (index < 0 || static_cast<size_t>(index) >= outputs.size()) {
        throw InvalidArgumentException(concat("Graph: invalid output index: ", index,
                                              " Number of outputs: ", outputs.size()));
    }
    return outputs[static_cast<size_t>(index)];
}

void Graph::setOff(bool value, size_t index) { setSwitchBit(offBits, off, value, index); }

void Graph::setBypass(bool value, size_t index) {
    setSwitchBit(bypassBits, bypassed, value, index);
}

void Graph::setSwitchBit(boost::dynamic_bitset<>& bits, bool& state, bool value, size_t index) {
    if (bits.size() < index + 1) {
        bits.resize(index + 1);
    }
    bits[index] = value;
    state = bits.any();
    // A switch on a rate-changing graph changes the rates downstream.
    if (multiplier != 1.0) {
        tellDriverRatesChanged();
    }
}

void Graph::tellDriverRatesChanged() {
    if (auto context = getContext()) {
        if (auto driver = context->getDriver()) {
            driver->setGraphsChanged();
        }
    }
}

void Graph::setSuspended(bool value) {
    if (multiplier != 1.0) {
        throw NodaraException(concat(
            "Graph: Cannot suspend a graph with the multiplier not equal to 1. multiplier=",
            multiplier));
    }
    suspended = value;
}

void Graph::setInputMultiplier(double value) {
    inputMultiplier = value;
    outputMultiplier = inputMultiplier * multiplier;
}

double Graph::getOutputMultiplier() const {
    return (off || bypassed) ? inputMultiplier : outputMultiplier;
}

void Graph::setMultiplier(double value) {
    multiplier = value;
    outputMultiplier = inputMultiplier * multiplier;
}

void Graph::init(const Properties& properties) {
    bool value = false;
    if (readProperty(properties, "Off", value, boolParser)) {
        setOff(value, 0);
    }
    if (readProperty(properties, "Bypass", value, boolParser)) {
        setBypass(value, 0);
    }
}

void Graph::setProperty(const std::string& propertyName, scalar value) {
    std::vector<std::string> parts;
    splitProperty(propertyName, "_", parts);
    if (parts.empty()) {
        throw InvalidArgumentException("Graph: Unknown property " + propertyName);
    }
    const int32 bit = parts.size() == 2 ? intParser(parts[1]) : 0;
    const size_t index = static_cast<size_t>(bit < 0 ? 0 : bit);
    const bool state = value > 0.5f;
    if (parts[0] == "Off") {
        setOff(state, index);
    } else if (parts[0] == "Bypass") {
        setBypass(state, index);
    } else if (parts[0] == "Suspend") {
        setSuspended(state);
    } else {
        throw InvalidArgumentException("Graph: Unknown property " + propertyName);
    }
}

} // namespace nodara
