#include "description/NewParser.h"

#include "description/DSPElementFactory.h"
#include "description/CircuitParser.h"
#include "description/ComponentFactory.h"
#include "description/DSPGraphParser.h"
#include "runtime/Exceptions.h"
#include "runtime/Property.h"

#include <cstdlib>

namespace nodara {

Properties attributesOf(const pugi::xml_node& node) {
    Properties properties;
    // A repeated attribute keeps its first value, as a lookup by name finds it.
    for (const auto& attribute : node.attributes()) {
        properties.emplace(attribute.name(), attribute.value());
    }
    return properties;
}

NewParser::NewParser()
    : dspGraphParser(std::make_unique<DSPGraphParser>(this)),
      circuitParser(std::make_unique<CircuitParser>(this)),
      elementFactory(std::make_shared<DSPElementFactory>()),
      componentFactory(std::make_shared<ComponentFactory>()),
      graphs(std::make_shared<std::vector<std::shared_ptr<Graph>>>()),
      inputGraphs(std::make_shared<std::vector<IndexList>>()),
      inputNodes(std::make_shared<std::vector<IndexList>>()) {}

NewParser::~NewParser() = default;

void NewParser::setElementFactory(const std::shared_ptr<DSPElementFactory>& factory) {
    elementFactory = factory;
}

void NewParser::parse(const std::string& document) {
    pugi::xml_document xml;
    const pugi::xml_parse_result loaded = xml.load_string(document.c_str());
    if (!loaded) {
        throw NodaraException(std::string("Cannot load xml document. Error: ") +
                              loaded.description());
    }
    auto graphNodes = xml.select_nodes("/System/Graphs/Graph");
    if (graphNodes.empty()) {
        throw NodaraException("No graphs to parse.");
    }
    graphs->reserve(graphNodes.size());
    inputGraphs->reserve(graphNodes.size());
    inputNodes->reserve(graphNodes.size());
    for (const auto& selected : graphNodes) {
        parseGraph(selected.node());
    }
    graphIndex["System"] = -1;
    for (const auto& selected : graphNodes) {
        parseGraphInputs(selected.node());
    }
    parseSystemOutputs(xml);
    if (auto controlsNode = xml.select_node("/System/Controls")) {
        parseControls(controlsNode.node());
    }
}

void NewParser::parseGraph(const pugi::xml_node& node) {
    auto nameAttribute = node.attribute("Name");
    auto typeAttribute = node.attribute("Type");
    auto multiplierAttribute = node.attribute("Multiplier");
    if (!nameAttribute) {
        throw NodaraException("Graph name is not specified");
    }
    const std::string name = nameAttribute.value();
    if (name == "System") {
        throw NodaraException("\"System\" is a reserved graph name.");
    }
    if (!typeAttribute) {
        throw NodaraException("Graph type is not specified");
    }
    const std::string type = typeAttribute.value();
    std::shared_ptr<Graph> graph;
    if (type == "MNA") {
        graph = circuitParser->parse(name, node);
    } else if (type == "DSP") {
        graph = dspGraphParser->parse(name, node);
    } else {
        throw NodaraException("Graph type " + type + " is not a valid type. Graph: " + name);
    }
    graphs->push_back(graph);
    if (multiplierAttribute) {
        const double multiplier = std::atof(multiplierAttribute.value());
        // Not a number is refused too: no rate follows from it.
        if (!(multiplier > 0.0)) {
            throw NodaraException("Invalid Graph Multiplier. Graph: " + name +
                                  " Multiplier: " + multiplierAttribute.value());
        }
        graph->setMultiplier(multiplier);
    }
    graphIndex[name] = static_cast<int32>(graphs->size() - 1);
}

int32 NewParser::findOutputNode(int32 graph, const std::string& node) const {
    const auto& names = outputNames[static_cast<size_t>(graph)];
    if (!names) {
        return -1;
    }
    for (size_t i = 0; i < names->size(); ++i) {
        if ((*names)[i] == node) {
            return static_cast<int32>(i);
        }
    }
    return -1;
}

void NewParser::parseGraphInputs(const pugi::xml_node& node) {
    auto inputs = node.select_nodes("./Inputs/Input");
    if (inputs.empty()) {
        inputGraphs->push_back(nullptr);
        inputNodes->push_back(nullptr);
        return;
    }
    auto sources = std::make_shared<std::vector<int32>>();
    auto nodes = std::make_shared<std::vector<int32>>();
    for (const auto& selected : inputs) {
        const pugi::xml_node input = selected.node();
        auto graphName = input.attribute("Graph");
        if (!graphName) {
            throw NodaraException("Input without a graph name.");
        }
        auto found = graphIndex.find(graphName.value());
        if (found == graphIndex.end()) {
            throw NodaraException(std::string("Invalid input graph: ") + graphName.value());
        }
        auto nodeName = input.attribute("Node");
        if (!nodeName) {
            throw NodaraException("Input without a Node name.");
        }
        int32 index = 0;
        if (found->second == -1) {
            index = std::atoi(nodeName.value());
        } else {
            index = findOutputNode(found->second, nodeName.value());
            if (index < 0) {
                throw NodaraException(std::string("Cannot find output node ") + nodeName.value());
            }
        }
        sources->push_back(found->second);
        nodes->push_back(index);
    }
    inputGraphs->push_back(sources);
    inputNodes->push_back(nodes);
}

void NewParser::parseSystemOutputs(const pugi::xml_document& document) {
    auto outputs = document.select_nodes("/System/Outputs/Output");
    if (outputs.empty()) {
        return;
    }
    outputGraphs = std::make_shared<std::vector<int32>>();
    outputNodes = std::make_shared<std::vector<int32>>();
    for (const auto& selected : outputs) {
        const pugi::xml_node output = selected.node();
        auto graphName = output.attribute("Graph");
        if (!graphName) {
            throw NodaraException("Output without a Graph name.");
        }
        auto found = graphIndex.find(graphName.value());
        if (found == graphIndex.end()) {
            throw NodaraException(std::string("Invalid system output graph name ") +
                                  graphName.value());
        }
        auto nodeName = output.attribute("Node");
        if (!nodeName) {
            throw NodaraException("Output without a Node name.");
        }
        int32 index = 0;
        if (found->second == -1) {
            index = std::atoi(nodeName.value());
        } else {
            index = findOutputNode(found->second, nodeName.value());
            if (index < 0) {
                throw NodaraException(std::string("Cannot find output node ") +
                                      nodeName.value() + " for graph " + graphName.value());
            }
        }
        outputGraphs->push_back(found->second);
        outputNodes->push_back(index);
    }
}

void NewParser::parseControls(const pugi::xml_node& controlsNode) {
    controls = std::make_shared<std::vector<std::shared_ptr<Control>>>();
    for (const auto& selected : controlsNode.select_nodes("./Control")) {
        auto control = parseControl(selected.node());
        control->setTag(static_cast<int32>(controls->size()));
        controls->push_back(control);
    }
}

std::shared_ptr<Control> NewParser::parseControl(const pugi::xml_node& node) {
    auto name = node.attribute("Name");
    if (!name) {
        throw NodaraException("Control without a name.");
    }
    auto displayName = node.attribute("DisplayName");
    if (!displayName) {
        throw NodaraException(std::string("Control without a display name. Control name: ") +
                              name.value());
    }
    auto value = node.attribute("Value");
    if (!value) {
        throw NodaraException(std::string("Control without a Value. Control name: ") +
                              name.value());
    }
    auto control = std::make_shared<Control>(name.value(), displayName.value(),
                                             static_cast<scalar>(std::atof(value.value())));
    if (auto ui = node.select_node("./UIProperties")) {
        const Properties uiProperties = attributesOf(ui.node());
        if (!uiProperties.empty()) {
            control->setUIProperties(uiProperties);
        }
    }
    auto propertiesNode = node.select_node("./Properties");
    if (!propertiesNode) {
        throw NodaraException(std::string("Control without properties. Control name: ") +
                              name.value());
    }
    auto targets = std::make_shared<std::vector<std::shared_ptr<Property>>>();
    for (const auto& selected : propertiesNode.node().select_nodes("./Property")) {
        targets->push_back(parseControlTarget(selected.node()));
    }
    control->setProperties(targets);
    return control;
}

std::shared_ptr<Property> NewParser::parseControlTarget(const pugi::xml_node& node) {
    auto property = std::make_shared<Property>();
    auto propertyName = node.attribute("Name");
    if (!propertyName) {
        throw NodaraException("Property without a name.");
    }
    property->name = propertyName.value();
    auto graph = node.attribute("Graph");
    if (!graph) {
        throw NodaraException("Property without a graph. Property name: " + property->name);
    }
    property->graphName = graph.value();
    property->elementName = node.attribute("Element").value();
    if (auto type = node.attribute("Type")) {
        const std::string typeText = type.value();
        if (typeText == "Vector") {
            property->type = Property::VectorType;
        } else if (typeText != "Scalar") {
            throw NodaraException("Unknown property type " + typeText);
        }
    }
    return property;
}

} // namespace nodara
