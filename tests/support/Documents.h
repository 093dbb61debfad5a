#pragma once

#include "description/SystemLoader.h"
#include "runtime/DSPContext.h"
#include "runtime/Driver.h"
#include "runtime/Exceptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace nodara::testing {

/// A driver built from document text, with a sample rate and a block size set.
inline std::shared_ptr<Driver> driverFor(const std::string& document, int32 maxBlockSize = 64,
                                         scalar sampleRate = 48000.0f) {
    auto driver = std::make_shared<Driver>();
    std::istringstream stream(document);
    loadSystem(*driver, stream);
    driver->setSampleRate(sampleRate);
    driver->setMaxBlockSize(maxBlockSize);
    return driver;
}

/// Properties written as in a document, "A=1|2 B=3": space-separated, no spaces in values.
inline Properties props(const std::string& text) {
    Properties properties;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const auto equals = word.find('=');
        properties.emplace(word.substr(0, equals), word.substr(equals + 1));
    }
    return properties;
}

/// Element `T` named `name`, initialised with a context of its own; a block size when given.
template <class T>
std::unique_ptr<T> made(const Properties& properties, const std::string& name = "f",
                        int32 maxBlockSize = 0) {
    auto filter = std::make_unique<T>();
    auto context = std::make_shared<DSPContext>();
    filter->init(name, properties, context);
    if (maxBlockSize > 0) {
        filter->setMaxBlockSize(maxBlockSize);
    }
    return filter;
}

template <class T>
std::unique_ptr<T> made(const std::string& properties, const std::string& name = "f",
                        int32 maxBlockSize = 0) {
    return made<T>(props(properties), name, maxBlockSize);
}

/// The message of the exception that `action` throws, or a marker if none.
template <class Action>
std::string messageOf(Action&& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "<no exception>";
}

/// The message of the exception that initialising a driver with `document` throws.
inline std::string initError(const std::string& document) {
    return messageOf([&] {
        auto driver = std::make_shared<Driver>();
        std::istringstream stream(document);
        loadSystem(*driver, stream);
    });
}

/// Runs `input` through the driver in blocks of `block` frames; returns each system output.
inline std::vector<std::vector<scalar>> runBlocks(Driver& driver,
                                                  const std::vector<std::vector<scalar>>& inputs,
                                                  size_t block) {
    const size_t frames = inputs.at(0).size();
    std::vector<std::vector<scalar>> outputs(driver.getNumberOfOutputs());
    for (size_t start = 0; start < frames; start += block) {
        const size_t count = std::min(block, frames - start);
        std::vector<scalar*> pointers;
        for (const auto& channel : inputs) {
            pointers.push_back(const_cast<scalar*>(channel.data()) + start);
        }
        driver.process(pointers, static_cast<int32>(count));
        for (size_t o = 0; o < outputs.size(); ++o) {
            const scalar* produced = (*driver.getOutputs())[o];
            outputs[o].insert(outputs[o].end(), produced, produced + count);
        }
    }
    return outputs;
}

/// A ramp with a little structure, so that delays and gains are visible.
inline std::vector<scalar> testSignal(size_t frames) {
    std::vector<scalar> signal(frames);
    for (size_t i = 0; i < frames; ++i) {
        signal[i] = static_cast<scalar>((static_cast<int>(i * 37) % 101) - 50) / 64.0f;
    }
    return signal;
}

/// A one-graph system: `elements` inside a DSP graph fed by system input 0, whose output node
/// "out" is the system output.
inline std::string oneGraphSystem(const std::string& elements, const std::string& outputElement,
                                  const std::string& graphProperties = "",
                                  const std::string& controls = "") {
    return "<System><Graphs><Graph Name='G' Type='DSP'>" + graphProperties + elements +
           "<Inputs><Input Graph='System' Node='0'/></Inputs>"
           "<Output><Node Name='out' Element='" +
           outputElement +
           "' Index='0'/></Output><NumberOfInputs>1</NumberOfInputs></Graph></Graphs>"
           "<Outputs><Output Graph='G' Node='out'/></Outputs>" +
           controls + "</System>";
}

/// An element of a DSP graph with one wire into port "in".
inline std::string element(const std::string& type, const std::string& name,
                           const std::string& properties, const std::string& source,
                           const std::string& sourceOutput = "out") {
    std::string text = "<Element Type='" + type + "' Name='" + name + "'><Properties " +
                       properties + "/>";
    if (!source.empty()) {
        text += "<Inputs><Input Port='in' Element='" + source + "' Output='" +
                (source == "Graph" ? std::string("0") : sourceOutput) + "'/></Inputs>";
    }
    return text + "</Element>";
}

/// One control, "Level", starting at `value` and setting `targets`, made with target().
inline std::string controlOf(const std::string& value, const std::string& targets) {
    return "<Controls><Control Name='Level' DisplayName='Level' Value='" + value +
           "'><Properties>" + targets + "</Properties></Control></Controls>";
}

/// A control's target: property `name` of `element` in graph G, or of the graph itself.
inline std::string target(const std::string& name, const std::string& element = "") {
    return "<Property Name='" + name + "' Graph='G'" +
           (element.empty() ? "" : " Element='" + element + "'") + "/>";
}

/// Graph `name` whose one element R reads node "out" of graph `source`, or system input 0,
/// and is the graph's output "out".
inline std::string graphOf(const std::string& name, const std::string& source,
                           const std::string& attributes = "", const std::string& type = "Recorder",
                           const std::string& properties = "") {
    const std::string input = source == "System" ? "<Input Graph='System' Node='0'/>"
                                                 : "<Input Graph='" + source + "' Node='out'/>";
    return "<Graph Name='" + name + "' Type='DSP' " + attributes + ">" +
           element(type, "R", properties, "Graph") + "<Inputs>" + input + "</Inputs>" +
           "<Output><Node Name='out' Element='R' Index='0'/></Output>"
           "<NumberOfInputs>1</NumberOfInputs></Graph>";
}

/// A system of `graphs` whose output is node "out" of graph `output`.
inline std::string systemOf(const std::string& graphs, const std::string& output,
                            const std::string& rest = "") {
    return "<System><Graphs>" + graphs + "</Graphs><Outputs><Output Graph='" + output +
           "' Node='out'/></Outputs>" + rest + "</System>";
}

/// Graph "Up" (×2, an interpolator) feeds graph "Down" (×0.5, a decimator), the system output;
/// the control "Oversampling" sets both factors.
inline std::string oversampledChain(const std::string& interpolatorType = "Butterworth") {
    const std::string stages = "Factor='2' Order='2' CornerFrequency=";
    return systemOf(
        graphOf("Up", "System", "Multiplier='2.0'", "IirInterpolator",
                stages + "'15000' Cascade='4' Type='" + interpolatorType + "'") +
            graphOf("Down", "Up", "Multiplier='0.5'", "IirDecimator",
                    stages + "'20000' Cascade='8' Type='Butterworth'"),
        "Down",
        "<Controls><Control Name='Oversampling' DisplayName='Oversampling' Value='2'><Properties>"
        "<Property Name='Factor' Graph='Up' Element='R'/><Property Name='Factor' Graph='Down' "
        "Element='R'/></Properties></Control></Controls>");
}

} // namespace nodara::testing
