#pragma once

#include "runtime/Control.h"
#include "runtime/Graph.h"
#include "runtime/SystemLayout.h"

#include <pugixml.hpp>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

class CircuitParser;
class ComponentFactory;
class DSPElementFactory;
class DSPGraphParser;

/// Turns the text of a system document into graphs, the wires between graphs, the system
/// outputs and the controls. One parse per object; the results outlive it.
class NewParser {
public:
    using IndexList = std::shared_ptr<std::vector<int32>>;
    using IndexLists = std::shared_ptr<std::vector<IndexList>>;
    using NameList = std::shared_ptr<std::vector<std::string>>;

    NewParser();
    ~NewParser();
    NewParser(const NewParser&) = delete;
    NewParser& operator=(const NewParser&) = delete;

    void setElementFactory(const std::shared_ptr<DSPElementFactory>& factory);
    const std::shared_ptr<DSPElementFactory>& getElementFactory() const { return elementFactory; }
    const std::shared_ptr<ComponentFactory>& getComponentFactory() const {
        return componentFactory;
    }
    void parse(const std::string& document);

    /// Called by the graph parsers: the output node names of the graph just parsed.
    void addOutputNames(const NameList& names) { outputNames.push_back(names); }

    const std::shared_ptr<std::vector<std::shared_ptr<Graph>>>& getGraphs() const { return graphs; }
    const IndexLists& getInputGraphs() const { return inputGraphs; }
    const IndexLists& getInputNodes() const { return inputNodes; }
    const IndexList& getOutputGraphs() const { return outputGraphs; }
    const IndexList& getOutputNodes() const { return outputNodes; }
    const std::shared_ptr<std::vector<std::shared_ptr<Control>>>& getControls() const {
        return controls;
    }
    /// All of the above, as the driver takes them.
    SystemLayout getLayout() const {
        return {graphs, inputGraphs, inputNodes, outputGraphs, outputNodes, controls};
    }

private:
    void parseGraph(const pugi::xml_node& node);
    void parseGraphInputs(const pugi::xml_node& node);
    /// Finds `node` among the output names of `graph`; -1 when absent.
    int32 findOutputNode(int32 graph, const std::string& node) const;
    void parseSystemOutputs(const pugi::xml_document& document);
    void parseControls(const pugi::xml_node& controlsNode);
    std::shared_ptr<Control> parseControl(const pugi::xml_node& node);
    std::shared_ptr<Property> parseControlTarget(const pugi::xml_node& node);

    std::unique_ptr<DSPGraphParser> dspGraphParser;
    std::unique_ptr<CircuitParser> circuitParser;
    std::shared_ptr<DSPElementFactory> elementFactory;
    std::shared_ptr<ComponentFactory> componentFactory;
    std::shared_ptr<std::vector<std::shared_ptr<Graph>>> graphs;
    std::map<std::string, int32> graphIndex;
    std::vector<NameList> outputNames;
    IndexLists inputGraphs;
    IndexLists inputNodes;
    IndexList outputGraphs;
    IndexList outputNodes;
    std::shared_ptr<std::vector<std::shared_ptr<Control>>> controls;
};

/// The attributes of a node as a property map.
Properties attributesOf(const pugi::xml_node& node);

} // namespace nodara
