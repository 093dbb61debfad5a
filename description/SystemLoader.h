#pragma once

#include "description/PluginDSPElementFactory.h"
#include "runtime/Driver.h"

#include <istream>
#include <memory>
#include <vector>

namespace nodara {

using PluginFactoryList = std::vector<std::shared_ptr<PluginDSPElementFactory>>;

/// Parses a system document and initialises `driver` with the graphs, wires and controls it
/// describes. The framework's element types are always known; `plugins` add a product's own,
/// asked in order after them. Start-up work: parses, allocates, designs.
void loadSystem(Driver& driver, std::istream& document, const PluginFactoryList& plugins = {});

} // namespace nodara
