#include "amp/EmbeddedData.h"

#include "runtime/Exceptions.h"

#include <cstddef>

#define TORVANE_BLOB(name)                                                                         \
    extern "C" const char torvane_##name##_begin[];                                                \
    extern "C" const char torvane_##name##_end[];
TORVANE_BLOB(V1)
TORVANE_BLOB(V2_lowCPU)
TORVANE_BLOB(V2_full)
TORVANE_BLOB(V3_lowCPU)
TORVANE_BLOB(V3_full)
TORVANE_BLOB(grid_V2V3)
TORVANE_BLOB(grid_VolumeControl)
TORVANE_BLOB(u87)
#undef TORVANE_BLOB

namespace torvane {

namespace {

/// The floats between two blob symbols; a blob of the wrong length is a broken build.
std::span<const float> floats(std::string_view name, const char* begin, const char* end,
                              size_t expected) {
    const auto bytes = static_cast<size_t>(end - begin);
    if (bytes != expected * sizeof(float)) {
        throw nodara::NodaraException(nodara::concat("Embedded table ", name, " holds ",
                                                     bytes / sizeof(float), " values, expected ",
                                                     expected));
    }
    return {reinterpret_cast<const float*>(begin), expected};
}

EmbeddedTable table(std::string_view name, double first, double last, double step, size_t count,
                    std::string_view x, std::string_view value, const char* begin, const char* end) {
    return {name, first, last, step, x, value, floats(name, begin, end, count)};
}

constexpr std::string_view gridVolts = "grid voltage (V)";
constexpr std::string_view plateVolts = "plate voltage (V)";
constexpr std::string_view ohms = "grid resistance (ohm)";

} // namespace

const std::vector<EmbeddedTable>& embeddedTables() {
    static const std::vector<EmbeddedTable> tables = {
        table("V1", -8.0, 8.0, 0.01, 1601, gridVolts, plateVolts, torvane_V1_begin, torvane_V1_end),
        table("V2.lowCPU", -8.0, 100.0, 0.02, 5401, gridVolts, plateVolts, torvane_V2_lowCPU_begin,
              torvane_V2_lowCPU_end),
        table("V2.full", -8.0, 80.0, 0.02, 4401, gridVolts, plateVolts, torvane_V2_full_begin,
              torvane_V2_full_end),
        table("V3.lowCPU", -40.0, 100.0, 0.01, 14001, gridVolts, plateVolts,
              torvane_V3_lowCPU_begin, torvane_V3_lowCPU_end),
        table("V3.full", -40.0, 100.0, 0.01, 14001, gridVolts, plateVolts, torvane_V3_full_begin,
              torvane_V3_full_end),
        table("grid.V2V3", 18.0, 30.0, 0.02, 601, gridVolts, ohms, torvane_grid_V2V3_begin,
              torvane_grid_V2V3_end),
        table("grid.VolumeControl", 0.0, 20.0, 0.02, 1001, gridVolts, ohms,
              torvane_grid_VolumeControl_begin, torvane_grid_VolumeControl_end),
        table("u87", 0.0, 27775.0, 1.0, 27776, "sample index", "value", torvane_u87_begin,
              torvane_u87_end),
    };
    return tables;
}

const EmbeddedTable& embeddedTable(std::string_view name) {
    for (const auto& entry : embeddedTables()) {
        if (entry.name == name) {
            return entry;
        }
    }
    throw nodara::InvalidArgumentException("Unknown embedded table: " + std::string(name));
}

} // namespace torvane
