#pragma once

#include "runtime/Graph.h"

#include <pugixml.hpp>

#include <memory>
#include <string>

namespace nodara {

class NewParser;

/// Fills one graph of Type "MNA": a Circuit with its context, components (made by the
/// NewParser's component factory), output nodes, number of inputs and analysis.
class CircuitParser {
public:
    explicit CircuitParser(NewParser* owner) : owner(owner) {}
    std::shared_ptr<Graph> parse(const std::string& name, const pugi::xml_node& node);

private:
    NewParser* owner;
};

} // namespace nodara
