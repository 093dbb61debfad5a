#include "description/DSPGraphParser.h"

#include "description/DSPElementFactory.h"
#include "description/NewParser.h"
#include "runtime/ChainedFilter.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <cstdlib>

namespace nodara {

namespace {

/// Position of the first element of that name, or -1.
int32 positionOf(const std::vector<std::string>& names, const std::string& name) {
    auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int32>(found - names.begin());
}

/// One Input of an element: its slot gets the source element (-1 for the graph's own inputs)
/// and the output of that source.
void readWire(const pugi::xml_node& wire, ElementMeta& meta, const std::vector<Filter*>& filters,
              const std::vector<std::string>& names, std::vector<int32>& elementSlots,
              std::vector<int32>& portSlots) {
    auto port = wire.attribute("Port");
    if (!port) {
        throw NodaraException("Input without a Port name.");
    }
    const auto slot = static_cast<size_t>(meta.getInputIndex(port.value()));
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
    elementSlots[slot] = sourceIndex;
    portSlots[slot] = sourceIndex == -1 ? std::atoi(output.value())
                                        : filters[static_cast<size_t>(sourceIndex)]
                                              ->getMeta()
                                              ->getOutputIndex(output.value());
}

struct GraphOutput {
    int32 element;
    int32 index;
};

/// One output Node of a graph: the element it names and that element's output.
GraphOutput readOutputNode(const pugi::xml_node& output, const std::vector<Filter*>& filters,
                           const std::vector<std::string>& names) {
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
        throw InvalidArgumentException(concat("Output Node ", outputName.value(), ": element ",
                                              element.value(), " has no output with index ",
                                              index));
    }
    return {position, index};
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
        std::unique_ptr<Filter> filter = makeFilter(selected.node(), context, name);
        names.push_back(filter->getName());
        context->addElement(filter.get());
        filter.release();
    }
    connect(*graph, node, names);
    readOutputs(*graph, node, names);
    if (auto count = node.child("NumberOfInputs")) {
        graph->setNumberOfInputs(std::atoi(count.child_value()));
    }
    return graph;
}

std::unique_ptr<Filter> DSPGraphParser::makeFilter(const pugi::xml_node& element,
                                                   std::shared_ptr<DSPContext>& context,
                                                   const std::string& graphName) {
    std::unique_ptr<Filter> filter(
        owner->getElementFactory()->create(element.attribute("Type").value()));
    const std::string elementName = element.attribute("Name").value();
    if (elementName.empty()) {
        throw NodaraException("Element name is not specified. Graph: " + graphName);
    }
    Properties properties;
    if (auto propertiesNode = element.select_node("./Properties")) {
        properties = attributesOf(propertiesNode.node());
    }
    filter->init(elementName, properties, context);
    limits::requireAtMost("Element " + elementName, "NumberOfInputs",
                          filter->getMeta()->getNumberOfInputs(), limits::inputs);
    if (auto* chained = dynamic_cast<ChainedFilter*>(filter.get())) {
        readChains(*chained, element, context, graphName);
    }
    return filter;
}

// A chain's elements are wired by their order in the list, so Inputs would be a mistake.
void DSPGraphParser::readChains(ChainedFilter& chained, const pugi::xml_node& element,
                                std::shared_ptr<DSPContext>& context,
                                const std::string& graphName) {
    for (const std::string& chain : chained.getChainNames()) {
        for (const pugi::xml_node& member : element.child(chain.c_str()).children("Element")) {
            if (member.child("Inputs")) {
                throw NodaraException(concat("Element ", member.attribute("Name").value(),
                                             " in the ", chain, " list of ",
                                             element.attribute("Name").value(),
                                             " has Inputs: a chain is wired in its order."));
            }
            chained.addToChain(chain, makeFilter(member, context, graphName));
        }
    }
    chained.checkChains();
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
            readWire(input.node(), *meta, filters, names, *elementSlots, *portSlots);
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
        const GraphOutput read = readOutputNode(output, filters, names);
        outputNames->push_back(output.attribute("Name").value());
        elements.push_back(read.element);
        indexes.push_back(read.index);
    }
    graph.setOutputs(std::move(elements), std::move(indexes));
    owner->addOutputNames(outputNames);
}

} // namespace nodara
