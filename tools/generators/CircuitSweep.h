#pragma once

#include "description/SystemLoader.h"
#include "runtime/Driver.h"

#include <cmath>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// DC sweeps of small circuit documents with the circuit engine: the amplifier's stage and grid
// tables are node voltages of such circuits, solved at runs of source voltages.
namespace torvane::generators {

/// A circuit element of a document: `type` named `name`, with its properties as attribute
/// text and its terminals in the part's order.
inline std::string part(const std::string& type, const std::string& name,
                        const std::string& properties, const std::vector<std::string>& nodes) {
    std::string text = "<Element Type=\"" + type + "\" Name=\"" + name + "\"><Properties " +
                       properties + "/>";
    for (const std::string& node : nodes)
        text += "<Node Name=\"" + node + "\"/>";
    return text + "</Element>";
}

/// A number as document text, with all the digits a double carries.
inline std::string number(double value) {
    std::ostringstream text;
    text.precision(17);
    text << value;
    return text.str();
}

/// A resistor of `ohms` between `a` and `b`.
inline std::string resistor(const std::string& name, double ohms, const std::string& a,
                            const std::string& b) {
    return part("Resistor", name, "Resistance=\"" + number(ohms) + "\"", {a, b});
}

/// A fixed voltage of `volts` from `plus` to ground.
inline std::string supply(const std::string& name, double volts, const std::string& plus) {
    return part("Battery", name, "Voltage=\"" + number(volts) + "\" UseFixedVoltage=\"true\"",
                {plus, "0"});
}

/// A source whose voltage, plus to minus, is sweep input `input`.
inline std::string sweptSource(const std::string& name, int input, const std::string& plus,
                               const std::string& minus) {
    return part("VoltageInputSource", name, "InputNumber=\"" + std::to_string(input) + "\"",
                {plus, minus});
}

/// When a DC solve ends: no unknown moved by more than `absolute` (V or A) plus `relative` of
/// itself in the last step. A relative tolerance much below a few float steps (1e-6 is about
/// eight) leaves Newton's method dithering in the last bits until its iteration limit.
struct Tolerances {
    double relative;
    double absolute;
};

/// A system document to sweep, and the tolerances its solves end at.
struct SweepDocument {
    std::string text;
    Tolerances tolerances;
};

/// A system of one circuit graph holding `parts`, whose swept sources read `inputs` system
/// inputs and whose `outputs` node voltages are written out; solved in DC analysis by Newton's
/// method to `tolerances`.
inline SweepDocument sweepDocument(const std::string& parts, int inputs,
                                   const std::vector<std::string>& outputs,
                                   Tolerances tolerances) {
    std::string graph = "<Graph Name=\"Stage\" Type=\"MNA\">" + parts + "<Inputs>";
    for (int i = 0; i < inputs; ++i)
        graph += "<Input Graph=\"System\" Node=\"" + std::to_string(i) + "\"/>";
    graph += "</Inputs><Output>";
    std::string systemOutputs;
    for (const std::string& node : outputs) {
        graph += "<Node Name=\"" + node + "\"/>";
        systemOutputs += "<Output Graph=\"Stage\" Node=\"" + node + "\"/>";
    }
    graph += "</Output><NumberOfInputs>" + std::to_string(inputs) +
             "</NumberOfInputs><Analysis Type=\"DC\"><Solver Type=\"NewtonRaphson\"><Properties "
             "RelativeTollerance=\"" +
             number(tolerances.relative) + "\" AbsoluteTollerance=\"" +
             number(tolerances.absolute) +
             "\" MaxIterations=\"5000\"/></Solver></Analysis></Graph>";
    return {"<System><Graphs>" + graph + "</Graphs><Outputs>" + systemOutputs +
                "</Outputs></System>",
            tolerances};
}

/// The output node voltages of `document` at each point of `inputs` (one run of values per
/// system input, all of one length), each point starting from the solution of the one before.
/// A solve that stops at its iteration limit leaves its last iterate, so each point is solved
/// twice, and a second solution that moved by more than ten times the tolerances from the
/// first is an error: the sweep converged everywhere or it fails.
inline std::vector<std::vector<double>> sweep(const SweepDocument& document,
                                              const std::vector<std::vector<double>>& inputs) {
    auto driver = std::make_shared<nodara::Driver>();
    std::istringstream text(document.text);
    nodara::loadSystem(*driver, text);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(2);
    std::vector<std::vector<double>> outputs(driver->getNumberOfOutputs());
    std::vector<float> held(2 * inputs.size());
    std::vector<nodara::scalar*> channels(inputs.size());
    for (size_t i = 0; i < inputs.size(); ++i)
        channels[i] = held.data() + 2 * i;
    for (size_t point = 0; point < inputs.at(0).size(); ++point) {
        for (size_t i = 0; i < inputs.size(); ++i)
            channels[i][0] = channels[i][1] = static_cast<float>(inputs[i][point]);
        driver->process(channels, 2);
        for (size_t o = 0; o < outputs.size(); ++o) {
            const float* solved = (*driver->getOutputs())[o];
            const double allowed = 10.0 * (document.tolerances.absolute +
                                           document.tolerances.relative * std::abs(solved[1]));
            if (std::abs(solved[1] - solved[0]) > allowed)
                throw std::runtime_error("the circuit did not converge at sweep point " +
                                         std::to_string(point) + ": " + number(solved[0]) +
                                         " then " + number(solved[1]));
            outputs[o].push_back(solved[1]);
        }
    }
    return outputs;
}

} // namespace torvane::generators
