#include "description/CircuitParser.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <iterator>

namespace nodara {

namespace {

/// Component types of circuit graphs.
bool isComponentType(const std::string& type) {
    static const char* const types[] = {
        "Battery",  "VoltageInputSource", "Resistor",      "Capacitor", "Potentiometer",
        "IdealAmplifier", "IdealDifferentialAmplifier", "OpAmp", "LookupTableAmp", "Triode",
        "Pentode"};
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

bool isSolverType(const std::string& type) {
    return type == "NewtonRaphson" || type == "Linear" || type == "SuccessiveApproximations" ||
           type == "SimplifiedNewton";
}

/// A solver child of `parent`; `role` heads the messages of a missing solver or type.
void checkSolver(const pugi::xml_node& parent, const std::string& role) {
    const pugi::xml_node solver = parent.child("Solver");
    if (!solver) {
        throw NodaraException(role + " Solver is not defined.");
    }
    const pugi::xml_attribute type = solver.attribute("Type");
    if (!type) {
        throw NodaraException(role + " Solver type is not defined.");
    }
    if (!isSolverType(type.value())) {
        throw NodaraException(std::string("Unknown solver type: ") + type.value());
    }
    // The same words for the solver of the analysis too.
    if (std::string(type.value()) != "Linear" && !solver.select_node("./Properties")) {
        throw NodaraException("InitilaCondition Solver's properties are not defined.");
    }
}

void checkAnalysis(const std::string& name, const pugi::xml_node& node) {
    const pugi::xml_node analysis = node.child("Analysis");
    if (!analysis) {
        throw NodaraException("Analysis node is missing in the graph " + name);
    }
    const pugi::xml_attribute type = analysis.attribute("Type");
    if (!type) {
        throw NodaraException("Analysis Type attribute is missing in the graph " + name);
    }
    const std::string analysisType = type.value();
    if (analysisType != "DC" && analysisType != "AC") {
        throw NodaraException("Invalid analysis Type attribute " + analysisType +
                              " in the graph " + name);
    }
    if (analysisType == "AC") {
        const pugi::xml_node initial = analysis.child("InitialCondition");
        if (!initial) {
            throw NodaraException("InitialCondition node is missing in the graph " + name);
        }
        const pugi::xml_attribute initialType = initial.attribute("Type");
        if (!initialType) {
            throw NodaraException("InitialCondition Type attribute is missing in the graph " +
                                  name);
        }
        const std::string condition = initialType.value();
        if (condition != "Zero" && condition != "User" && condition != "OperatingPoint") {
            throw NodaraException("Invalid InitialCondition Type attribute " + condition +
                                  " in the graph " + name);
        }
        if (condition == "OperatingPoint") {
            checkSolver(initial, "InitialCondition");
        }
    }
    checkSolver(analysis, "Analysis");
}

} // namespace

// The circuit engine is not part of this build. A circuit graph is still read as far as it
// can be without building components, so that a faulty one is reported by its fault.
std::shared_ptr<Graph> CircuitParser::parse(const std::string& name, const pugi::xml_node& node) {
    auto elements = node.select_nodes("Element");
    if (elements.empty()) {
        throw NodaraException("No elements in graph " + name);
    }
    for (const auto& selected : elements) {
        const pugi::xml_node element = selected.node();
        const std::string type = element.attribute("Type").value();
        if (!isComponentType(type)) {
            throw NodaraException("Unknown element type: " + type);
        }
        const std::string elementName = element.attribute("Name").value();
        if (elementName.empty()) {
            throw NodaraException("Element name is not specified in graph " + name);
        }
        auto terminals = element.select_nodes("./Node");
        if (terminals.empty()) {
            throw NodaraException("Element: " + elementName + ". No Nodes specified.");
        }
        for (const auto& terminal : terminals) {
            if (std::string(terminal.node().attribute("Name").value()).empty()) {
                throw NodaraException("Element: " + elementName + ". Node without a name.");
            }
        }
    }
    checkAnalysis(name, node);
    throw NodaraException("CircuitParser: graphs of Type \"MNA\" (circuit simulation) are not "
                          "available in this build. Graph: " +
                          name);
}

} // namespace nodara
