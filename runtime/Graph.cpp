#include "runtime/Graph.h"

#include "runtime/Context.h"
#include "runtime/Driver.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <string_view>

namespace nodara {

void Graph::setNumberOfInputs(int32 count) {
    if (count < 0) {
        throw InvalidArgumentException(
            concat("Number of inputs must be greater than zero. Number of inputs =", count));
    }
    // Every input is a stream the driver keeps a pointer for; a count past any real graph
    // (a typing slip, or a number beyond the integer range) would only eat memory for minutes.
    if (count > limits::inputs) {
        throw InvalidArgumentException(concat("Number of inputs must be at most ", limits::inputs,
                                              ". Number of inputs =", count));
    }
    numberOfInputs = count;
}

void Graph::settle(const std::vector<scalar*>& inputs, size_t frames) { process(inputs, frames); }

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
    const bool was = state;
    state = bits.any();
    // Switching a graph in or out moves the rates downstream of a rate-changing graph, and the
    // rate a graph's filters are designed for; the driver redoes only rates that moved.
    if (state != was) {
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

namespace {

/// The pieces of a switch name split at "_", empty pieces dropped, without allocating: it
/// runs on the audio thread. Only the first piece, the second and the count matter.
struct SwitchName {
    std::string_view first;
    std::string_view second;
    size_t pieces = 0;
};

SwitchName splitSwitchName(std::string_view text) {
    SwitchName result;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = std::min(text.find('_', start), text.size());
        if (end > start) {
            const std::string_view piece = text.substr(start, end - start);
            if (result.pieces == 0) {
                result.first = piece;
            } else if (result.pieces == 1) {
                result.second = piece;
            }
            ++result.pieces;
        }
        start = end + 1;
    }
    return result;
}

/// atoi over a view: an optional sign, then digits; anything else ends the number.
int32 leadingInteger(std::string_view text) {
    const bool negative = !text.empty() && text[0] == '-';
    size_t position = (!text.empty() && (text[0] == '-' || text[0] == '+')) ? 1 : 0;
    int32 value = 0;
    for (; position < text.size() && text[position] >= '0' && text[position] <= '9'; ++position) {
        value = value * 10 + (text[position] - '0');
    }
    return negative ? -value : value;
}

} // namespace

void Graph::setProperty(const std::string& propertyName, scalar value) {
    const SwitchName parts = splitSwitchName(propertyName);
    if (parts.pieces == 0) {
        throw InvalidArgumentException("Graph: Unknown property " + propertyName);
    }
    const int32 bit = parts.pieces == 2 ? leadingInteger(parts.second) : 0;
    const size_t index = static_cast<size_t>(bit < 0 ? 0 : bit);
    const bool state = value > 0.5f;
    if (parts.first == "Off") {
        setOff(state, index);
    } else if (parts.first == "Bypass") {
        setBypass(state, index);
    } else if (parts.first == "Suspend") {
        setSuspended(state);
    } else {
        throw InvalidArgumentException("Graph: Unknown property " + propertyName);
    }
}

} // namespace nodara
