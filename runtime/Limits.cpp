#include "runtime/Limits.h"

#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara::limits {

namespace {

/// Whole numbers as integers, so that a count reads as it was written.
std::string number(double value) {
    if (std::isfinite(value) && std::floor(value) == value && std::fabs(value) < 1e18) {
        return std::to_string(static_cast<long long>(value));
    }
    return concat(value);
}

} // namespace

void requireAtMost(std::string_view owner, std::string_view name, double value, double bound) {
    if (!(value <= bound)) {
        throw InvalidArgumentException(concat(owner, ": ", name, " must be at most ", number(bound),
                                              ". ", name, "=", number(value)));
    }
}

} // namespace nodara::limits
