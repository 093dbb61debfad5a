#pragma once

#include "description/PluginDSPElementFactory.h"

#include <memory>
#include <string>
#include <vector>

namespace nodara {

class Filter;

/// Makes filters from the `Type` text of a document element: the framework's own types
/// first, then each plug-in factory in the order added.
class DSPElementFactory {
public:
    virtual ~DSPElementFactory() = default;
    /// A new element, owned by the caller; an unknown type throws.
    virtual Filter* create(const std::string& type);
    void addPluginFactory(const std::shared_ptr<PluginDSPElementFactory>& factory);
    /// Whether the framework itself builds `type`.
    static bool isBuiltIn(const std::string& type);

private:
    std::vector<std::shared_ptr<PluginDSPElementFactory>> plugins;
};

} // namespace nodara
