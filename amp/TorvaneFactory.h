#pragma once

#include "description/PluginDSPElementFactory.h"

#include <string>

namespace torvane {

/// The product's own element types: "FilterWrapper" and "Newton".
class TorvaneFactory : public nodara::PluginDSPElementFactory {
public:
    nodara::Filter* create(const std::string& type) override;
    bool hasType(const std::string& type) override;
};

} // namespace torvane
