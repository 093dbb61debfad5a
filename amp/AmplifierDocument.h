#pragma once

#include <string_view>

namespace torvane {

/// The system document the plug-in carries: 16 graphs, 2 outputs, 8 controls.
extern const std::string_view amplifierDocument;

} // namespace torvane
