#pragma once

#include "runtime/DSPGraph.h"

#include <pugixml.hpp>

#include <memory>
#include <string>
#include <vector>

namespace nodara {

class ChainedFilter;
class NewParser;

/// Fills one graph of Type "DSP": its elements, the wires between them and its outputs.
class DSPGraphParser {
public:
    explicit DSPGraphParser(NewParser* owner) : owner(owner) {}
    std::shared_ptr<Graph> parse(const std::string& name, const pugi::xml_node& node);

private:
    /// A new filter from an `Element` node, initialised, with its chains if it has any.
    std::unique_ptr<Filter> makeFilter(const pugi::xml_node& element,
                                       std::shared_ptr<DSPContext>& context,
                                       const std::string& graphName);
    void readChains(ChainedFilter& chained, const pugi::xml_node& element,
                    std::shared_ptr<DSPContext>& context, const std::string& graphName);
    void connect(DSPGraph& graph, const pugi::xml_node& node,
                 const std::vector<std::string>& names);
    void readOutputs(DSPGraph& graph, const pugi::xml_node& node,
                     const std::vector<std::string>& names);

    NewParser* owner;
};

} // namespace nodara
