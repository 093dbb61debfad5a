#pragma once

#include "runtime/Control.h"
#include "runtime/Graph.h"
#include "runtime/Types.h"

#include <memory>
#include <vector>

namespace nodara {

/// A system as the driver runs it: the graphs in document order (a graph's index is its
/// identity), where each graph input and each system output reads from, and the controls.
/// A source graph of -1 is the system input; the node is then the system input's index.
struct SystemLayout {
    using GraphList = std::shared_ptr<std::vector<std::shared_ptr<Graph>>>;
    using IndexList = std::shared_ptr<std::vector<int32>>;
    using IndexLists = std::shared_ptr<std::vector<IndexList>>;
    using ControlList = std::shared_ptr<std::vector<std::shared_ptr<Control>>>;

    GraphList graphs;
    /// Per graph, per input: the source graph, and the output index of that source.
    IndexLists inputGraphs;
    IndexLists inputNodes;
    /// Per system output: the source graph and its output index.
    IndexList outputGraphs;
    IndexList outputNodes;
    /// May be null: a system without controls.
    ControlList controls;
};

} // namespace nodara
