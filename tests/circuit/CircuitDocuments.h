#pragma once

#include "support/Documents.h"

#include <string>
#include <vector>

namespace nodara::testing {

/// A circuit element: `type` named `name` with `properties` ("Key='value' ...") and terminals.
inline std::string part(const std::string& type, const std::string& name,
                        const std::string& properties, const std::vector<std::string>& nodes) {
    std::string text = "<Element Type='" + type + "' Name='" + name + "'><Properties " +
                       properties + "/>";
    for (const std::string& node : nodes) {
        text += "<Node Name='" + node + "'/>";
    }
    return text + "</Element>";
}

inline std::string solverOf(const std::string& type, const std::string& properties = "") {
    return "<Solver Type='" + type + "'>" +
           (properties.empty() ? "" : "<Properties " + properties + "/>") + "</Solver>";
}

inline std::string linear() { return solverOf("Linear"); }

inline std::string newton(const std::string& extra = "") {
    return solverOf("NewtonRaphson", "RelativeTollerance='1e-6' AbsoluteTollerance='1e-7' "
                                     "MaxIterations='50' " + extra);
}

/// An AC analysis from the operating point, both solved by `solver`.
inline std::string fromOperatingPoint(const std::string& solver) {
    return "<Analysis Type='AC'><InitialCondition Type='OperatingPoint'>" + solver +
           "</InitialCondition>" + solver + "</Analysis>";
}

/// A system of one circuit graph C: `parts`, wired to system input 0 (a graph without any
/// input has no rate) and reading it when `inputs` is 1, whose output nodes `outputs` are the
/// system outputs.
inline std::string circuitSystem(const std::string& parts, const std::string& analysis,
                                 const std::vector<std::string>& outputs, int inputs = 1,
                                 const std::string& controls = "") {
    std::string graph =
        "<Graph Name='C' Type='MNA'>" + parts + "<Inputs><Input Graph='System' Node='0'/></Inputs>";
    if (inputs > 0) {
        graph += "<NumberOfInputs>1</NumberOfInputs>";
    }
    graph += "<Output>";
    for (const std::string& node : outputs) {
        graph += "<Node Name='" + node + "'/>";
    }
    graph += "</Output>" + analysis + "</Graph>";
    std::string system = "<System><Graphs>" + graph + "</Graphs><Outputs>";
    for (const std::string& node : outputs) {
        system += "<Output Graph='C' Node='" + node + "'/>";
    }
    return system + "</Outputs>" + controls + "</System>";
}

/// The input driving node "in" against ground.
inline std::string inputSource(const std::string& extra = "") {
    return part("VoltageInputSource", "Vin", "InputNumber='0' " + extra, {"in", "0"});
}

/// An RC low-pass from "in" to "out": R ohms, C farads.
inline std::string rcLowPass(const std::string& r = "1000", const std::string& c = "1e-7") {
    return inputSource() + part("Resistor", "R", "Resistance='" + r + "'", {"in", "out"}) +
           part("Capacitor", "C", "Capacitance='" + c + "'", {"out", "0"});
}

} // namespace nodara::testing
