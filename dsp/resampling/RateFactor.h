#pragma once

#include "runtime/DSPContext.h"
#include "runtime/Properties.h"

#include <memory>
#include <string>

// What the resamplers share with a graph of another rate.
namespace nodara {

/// The whole factor a control's value stands for: floor(value + 0.5), the sum in single
/// precision; 0 below 1, a factor that `process` refuses. Above the largest factor it throws,
/// naming `type`.
int32 wholeFactor(scalar value, const char* type);

/// Gives the graph of `context` the rate ratio `multiplier` and tells the driver, whose next
/// block hands every graph its new rate and block size; an unchanged ratio changes nothing, so
/// it costs no redesign. Audio thread; allocates nothing. A filter outside a graph or a driver
/// changes nothing here.
void moveGraphRate(const std::shared_ptr<DSPContext>& context, double multiplier);

/// The required Factor of `type`, at least 1.
int32 readPolyphaseFactor(const Properties& properties, const char* type, const std::string& name);

} // namespace nodara
