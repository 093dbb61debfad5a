#include "dsp/resampling/RateFactor.h"

#include "runtime/Driver.h"
#include "runtime/Exceptions.h"
#include "runtime/Graph.h"
#include "runtime/Limits.h"

#include <cmath>

namespace nodara {

int32 wholeFactor(scalar value, const char* type) {
    const double rounded = std::floor(static_cast<double>(value + 0.5f));
    limits::requireAtMost(type, "Factor", rounded, limits::factor);
    return rounded < 1.0 ? 0 : static_cast<int32>(rounded);
}

void moveGraphRate(const std::shared_ptr<DSPContext>& context, double multiplier) {
    if (!context) {
        return;
    }
    if (auto graph = context->getGraph()) {
        if (graph->getMultiplier() == multiplier) {
            return;
        }
        graph->setMultiplier(multiplier);
    }
    if (auto driver = context->getDriver()) {
        driver->setGraphsChanged();
    }
}

int32 readPolyphaseFactor(const Properties& properties, const char* type, const std::string& name) {
    int32 factor = 0;
    requireProperty(properties, "Factor", factor, intParser,
                    NodaraException(concat("Factor is not defined. ", type, " name=", name)));
    if (factor < 1) {
        throw InvalidArgumentException(
            concat("Factor must be greater than 0.", " ", type, " name=", name));
    }
    return factor;
}

} // namespace nodara
