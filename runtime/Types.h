#pragma once

#include <cstdint>

namespace nodara {

/// The sample type of all audio, tables and coefficients.
using scalar = float;
using int32 = std::int32_t;

} // namespace nodara
