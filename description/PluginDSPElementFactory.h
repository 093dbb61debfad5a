#pragma once

#include <string>

namespace nodara {

class Filter;

/// The extension point through which a product adds its own element types.
class PluginDSPElementFactory {
public:
    /// A new element of `type`, owned by the caller.
    virtual Filter* create(const std::string& type) = 0;
    virtual ~PluginDSPElementFactory() = default;
    virtual bool hasType(const std::string& type) = 0;
};

} // namespace nodara
