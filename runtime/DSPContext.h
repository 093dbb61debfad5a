#pragma once

#include "runtime/Context.h"
#include "runtime/Filter.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace nodara {

/// The context of a DSPGraph: owns its filters, in document order.
class DSPContext : public Context {
public:
    /// Stores the rate and hands it to every filter in list order.
    void setSampleRate(scalar rate) override;
    /// Throws for an unknown name.
    Element* getElement(const std::string& name) override;
    /// The element must be a filter with a name not yet taken.
    void addElement(Element* element) override;

    /// The filters in document order; a filter's position is its index in the graph.
    const std::vector<Filter*>& getFilters() const { return filters; }

private:
    std::unordered_map<std::string, Element*> elementsByName;
    std::vector<Filter*> filters;
    std::vector<std::unique_ptr<Filter>> owned;
};

} // namespace nodara
