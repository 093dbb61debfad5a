#include "description/CircuitParser.h"

#include "circuit/Circuit.h"
#include "description/ComponentFactory.h"
#include "description/NewParser.h"
#include "runtime/Exceptions.h"

#include <cstdlib>

namespace nodara {

namespace {

/// The terminals of a component element, in document order.
std::vector<std::string> nodeNamesOf(const pugi::xml_node& element, const std::string& name) {
    auto terminals = element.select_nodes("./Node");
    if (terminals.empty()) {
        throw NodaraException("Element: " + name + ". No Nodes specified.");
    }
    std::vector<std::string> names;
    for (const auto& terminal : terminals) {
        names.emplace_back(terminal.node().attribute("Name").value());
        if (names.back().empty()) {
            throw NodaraException("Element: " + name + ". Node without a name.");
        }
    }
    return names;
}

void addComponent(ComponentFactory& factory, const pugi::xml_node& element,
                  const std::string& graphName, const std::shared_ptr<MNAContext>& context) {
    std::unique_ptr<Component> component(factory.create(element.attribute("Type").value()));
    const std::string name = element.attribute("Name").value();
    if (name.empty()) {
        throw NodaraException("Element name is not specified in graph " + graphName);
    }
    Properties properties;
    if (auto propertiesNode = element.select_node("./Properties")) {
        properties = attributesOf(propertiesNode.node());
    }
    component->init(name, properties, nodeNamesOf(element, name), context);
    context->addComponent(component.get());
    component.release();
}

/// The output node names, or null when the graph names none.
std::shared_ptr<std::vector<std::string>> outputNamesOf(const pugi::xml_node& node) {
    auto nodes = node.select_nodes("./Output/Node");
    if (nodes.empty()) {
        return nullptr;
    }
    auto names = std::make_shared<std::vector<std::string>>();
    for (const auto& selected : nodes) {
        auto outputName = selected.node().attribute("Name");
        if (!outputName) {
            throw NodaraException("Output Node without a name.");
        }
        names->emplace_back(outputName.value());
    }
    return names;
}

/// The solver child of `parent`; `role` heads the messages of a missing solver or type.
std::shared_ptr<Solver> readSolver(const pugi::xml_node& parent, const std::string& role) {
    const pugi::xml_node node = parent.child("Solver");
    if (!node) {
        throw NodaraException(role + " Solver is not defined.");
    }
    const pugi::xml_attribute type = node.attribute("Type");
    if (!type) {
        throw NodaraException(role + " Solver type is not defined.");
    }
    auto solver = makeSolver(type.value());
    const pugi::xml_node properties = node.select_node("./Properties").node();
    // The same words for the solver of the analysis too.
    if (std::string(type.value()) != "Linear" && !properties) {
        throw NodaraException("InitilaCondition Solver's properties are not defined.");
    }
    solver->setProperties(attributesOf(properties));
    return solver;
}

/// The initial condition of an AC analysis, with its solver for an operating point.
void readInitialCondition(const pugi::xml_node& analysisNode, const std::string& graphName,
                          Analysis& analysis) {
    const pugi::xml_node initial = analysisNode.child("InitialCondition");
    if (!initial) {
        throw NodaraException("InitialCondition node is missing in the graph " + graphName);
    }
    const pugi::xml_attribute type = initial.attribute("Type");
    if (!type) {
        throw NodaraException("InitialCondition Type attribute is missing in the graph " +
                              graphName);
    }
    const std::string condition = type.value();
    if (condition == "OperatingPoint") {
        analysis.initialCondition = Analysis::OperatingPoint;
        analysis.dcSolver = readSolver(initial, "InitialCondition");
    } else if (condition == "Zero") {
        analysis.initialCondition = Analysis::Zero;
    } else if (condition == "User") {
        analysis.initialCondition = Analysis::User;
    } else {
        throw NodaraException("Invalid InitialCondition Type attribute " + condition +
                              " in the graph " + graphName);
    }
}

std::unique_ptr<Analysis> readAnalysis(const pugi::xml_node& node, const std::string& graphName) {
    const pugi::xml_node analysisNode = node.child("Analysis");
    if (!analysisNode) {
        throw NodaraException("Analysis node is missing in the graph " + graphName);
    }
    const pugi::xml_attribute type = analysisNode.attribute("Type");
    if (!type) {
        throw NodaraException("Analysis Type attribute is missing in the graph " + graphName);
    }
    auto analysis = std::make_unique<Analysis>();
    const std::string analysisType = type.value();
    if (analysisType == "AC") {
        analysis->type = Analysis::AC;
        readInitialCondition(analysisNode, graphName, *analysis);
    } else if (analysisType != "DC") {
        throw NodaraException("Invalid analysis Type attribute " + analysisType +
                              " in the graph " + graphName);
    }
    analysis->solver = readSolver(analysisNode, "Analysis");
    return analysis;
}

} // namespace

std::shared_ptr<Graph> CircuitParser::parse(const std::string& name, const pugi::xml_node& node) {
    auto circuit = std::make_shared<Circuit>();
    auto context = std::make_shared<MNAContext>();
    circuit->setContext(context);
    context->setGraph(circuit);
    circuit->setId(1);
    circuit->setName(name);
    auto elements = node.select_nodes("Element");
    if (elements.empty()) {
        throw NodaraException("No elements in graph " + name);
    }
    for (const auto& selected : elements) {
        addComponent(*owner->getComponentFactory(), selected.node(), name, context);
    }
    auto outputNames = outputNamesOf(node);
    owner->addOutputNames(outputNames);
    circuit->setOutputs(outputNames);
    if (auto count = node.child("NumberOfInputs")) {
        circuit->setNumberOfInputs(std::atoi(count.child_value()));
    }
    circuit->setAnalysis(readAnalysis(node, name));
    return circuit;
}

} // namespace nodara
