#include "description/DSPGraphParser.h"

#include "description/DSPElementFactory.h"
#include "description/NewParser.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstdlib>

namespace nodara {

namespace {

/// Position of the first element of that name, or -1.
int32 positionOf(const std::vector<std::string>& names, const std::string& name) {
    auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int32>(found - names.begin());
}

} // namespace

std::shared_ptr<Graph> DSPGraphParser::parse(const std::string& name, const pugi::xml_node& node) {
    auto graph = std::make_shared<DSPGraph>();
    auto context = std::make_shared<DSPContext>();
    graph->setContext(context);
    context->setGraph(graph);
    graph->setId(0);
    graph->setName(name);
    if (auto properties = node.select_node("./Properties")) {
        graph->init(attributesOf(properties.node()));
    }
    auto elements = node.select_nodes("Element");
    if (elements.empty()) {
        throw NodaraException("No elements in graph " + name);
    }
    std::vector<std::string> names;
    for (const auto& selected : elements) {
        const pugi::xml_node element = selected.node();
        std::unique_ptr<Filter> filter(
            owner->getElementFactory()->create(element.attribute("Type").value()));
        const std::string elementName = element.attribute("Name").value();
        if (elementName.empty()) {
            throw NodaraException("Element name is not specified. Graph: " + name);
        }
        Properties properties;
        if (auto propertiesNode = element.select_node("./Properties")) {
            properties = attributesOf(propertiesNode.node());
        }
        filter->init(elementName, properties, context);
        context->addElement(filter.get());
        filter.release();
        names.push_back(elementName);
    }
    connect(*graph, node, names);
    readOutputs(*graph, node, names);
    if (auto count = node.child("NumberOfInputs")) {
        graph->setNumberOfInputs(std::atoi(count.child_value()));
    }
    return graph;
}

void DSPGraphParser::connect(DSPGraph& graph, const pugi::xml_node& node,
                             const std::vector<std::string>& names) {
    const auto& filters = graph.getDSPContext()->getFilters();
    std::vector<DSPGraph::Wires> sources;
    std::vector<DSPGraph::Wires> ports;
    size_t position = 0;
    for (const auto& selected : node.select_nodes("Element")) {
        auto inputs = selected.node().select_nodes("./Inputs/Input");
        Filter* filter = filters[position++];
        if (inputs.empty()) {
            sources.emplace_back();
            ports.emplace_back();
            continue;
        }
        auto meta = filter->getMeta();
        const auto slots = static_cast<size_t>(std::max(meta->getNumberOfInputs(), 0));
        auto elementSlots = std::make_shared<std::vector<int32>>(slots, -2);
        auto portSlots = std::make_shared<std::vector<int32>>(slots, -1);
        for (const auto& input : inputs) {
            const pugi::xml_node wire = input.node();
            auto port = wire.attribute("Port");
            if (!port) {
                throw NodaraException("Input without a Port name.");
            }
            const auto slot = static_cast<size_t>(meta->getInputIndex(port.value()));
            auto source = wire.attribute("Element");
            if (!source) {
                throw NodaraException("Input without an Element name.");
            }
            const std::string sourceName = source.value();
            int32 sourceIndex = -1;
            if (sourceName != "Graph") {
                sourceIndex = positionOf(names, sourceName);
                if (sourceIndex < 0) {
                    throw NodaraException("Cannot find input filter with name " + sourceName);
                }
            }
            auto output = wire.attribute("Output");
            if (!output) {
                throw NodaraException("Input without an Output port.");
            }
            (*elementSlots)[slot] = sourceIndex;
            (*portSlots)[slot] =
                sourceIndex == -1
                    ? std::atoi(output.value())
                    : filters[static_cast<size_t>(sourceIndex)]->getMeta()->getOutputIndex(
                          output.value());
        }
        sources.push_back(elementSlots);
        ports.push_back(portSlots);
    }
    graph.setConnections(std::move(sources), std::move(ports));
}

void DSPGraphParser::readOutputs(DSPGraph& graph, const pugi::xml_node& node,
                                 const std::vector<std::string>& names) {
    auto nodes = node.select_nodes("./Output/Node");
    if (nodes.empty()) {
        owner->addOutputNames(nullptr);
        return;
    }
    const auto& filters = graph.getDSPContext()->getFilters();
    auto outputNames = std::make_shared<std::vector<std::string>>();
    std::vector<int32> elements;
    std::vector<int32> indexes;
    for (const auto& selected : nodes) {
        const pugi::xml_node output = selected.node();
        auto outputName = output.attribute("Name");
        if (!outputName) {
            throw NodaraException("Output Node without a name.");
        }
        auto element = output.attribute("Element");
        if (!element) {
            throw NodaraException("Output Node without an Element attribute.");
        }
        const int32 position = positionOf(names, element.value());
        if (position < 0) {
            throw NodaraException(std::string("Cannot find output filter with name ") +
                                  element.value());
        }
        auto meta = filters[static_cast<size_t>(position)]->getMeta();
        int32 index = 0;
        if (auto port = output.attribute("Port")) {
            index = meta->getOutputIndex(port.value());
        } else if (auto indexText = output.attribute("Index")) {
            index = std::atoi(indexText.value());
        } else {
            throw NodaraException("Output Node without a Port or an Index attribute.");
        }
        // An index past the element's outputs would be read out of its output list.
        if (index < 0 || index >= meta->getNumberOfOutputs()) {
            throw InvalidArgumentException(concat("Output Node ", outputName.value(),
                                                  ": element ", element.value(),
                                                  " has no output with index ", index));
        }
        outputNames->push_back(outputName.value());
        elements.push_back(position);
        indexes.push_back(index);
    }
    graph.setOutputs(std::move(elements), std::move(indexes));
    owner->addOutputNames(outputNames);
}

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
