#pragma once

#include "dsp/LookupTableFilter.h"

#include <memory>
#include <span>

namespace torvane {

/// A grid's conductance over its voltage: a resistance curve in ohms, inverted (1/R in single
/// precision) into a lookup table that returns siemens.
std::unique_ptr<nodara::LookupTableFilter> gridConductance(std::span<const float> resistance,
                                                           const char* vinMin, const char* vinMax,
                                                           const char* deltaV);

} // namespace torvane
