#pragma once

#include "runtime/Filter.h"

#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// A filter that runs named chains of inner filters of its own, which a document gives as
/// child lists of the element (`<Forward><Element .../>...</Forward>`). The parser builds
/// each listed element with the graph's element factory and hands it over in document
/// order; the inner filters are not elements of the graph.
///
/// Threads: building only.
class ChainedFilter {
public:
    virtual ~ChainedFilter() = default;

    /// The names of the child lists the filter reads, in the order they are handed over.
    virtual const std::vector<std::string>& getChainNames() const = 0;
    /// Appends `filter` to the chain `chain`, one of getChainNames().
    virtual void addToChain(const std::string& chain, const std::shared_ptr<Filter>& filter) = 0;
    /// Every chain is handed over: refuses chains that do not fit together.
    virtual void checkChains() const = 0;
};

} // namespace nodara
