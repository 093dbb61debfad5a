#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace torvane {

/// A table stored in the program: entry i is for x = first + i·step.
struct EmbeddedTable {
    std::string_view name;
    /// x of the first and of the last entry, and the spacing, as the decimals they are: volts
    /// for the stage and grid curves, sample indices for the cabinet response.
    double first;
    double last;
    double step;
    /// What x and the values are, for listings.
    std::string_view xMeaning;
    std::string_view valueMeaning;
    std::span<const float> values;
};

/// The stage curves "V1", "V2.lowCPU", "V2.full", "V3.lowCPU", "V3.full" (plate volts over grid
/// volts), the grid curves "grid.V2V3", "grid.VolumeControl" (ohms over grid volts, before
/// inversion) and the cabinet response "u87" (at 44100 Hz).
const std::vector<EmbeddedTable>& embeddedTables();
/// One table by name; an unknown name throws InvalidArgumentException.
const EmbeddedTable& embeddedTable(std::string_view name);

/// The sample rate of the cabinet response "u87".
inline constexpr float cabinetResponseRate = 44100.0f;

} // namespace torvane
