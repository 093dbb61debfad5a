#pragma once

#include "runtime/Driver.h"

#include <memory>
#include <string>
#include <string_view>

namespace torvane {

/// A driver that knows the product's element types, initialised from `document`.
/// Start-up work: parses and designs; never on the audio thread.
std::shared_ptr<nodara::Driver> makeProductDriver(std::string_view document);

/// The same for the amplifier document.
std::shared_ptr<nodara::Driver> makeAmplifierDriver();

/// Attaches the networks' coefficient calculators and handlers, then loads the stage tables
/// and the cabinet response into their elements. Must run before the driver's first block
/// size: the block size reaches the wrapped filters only once they exist.
void setUpAmplifier(nodara::Driver& driver);

/// The value maps of the amplifier's eight controls, installed by control name; every other
/// control keeps the identity. Each map also sets its target's pending value.
void installValueMaps(const nodara::Driver::ControlList& controls);

/// The sample rates the amplifier runs at: above the lowest, where its oversampling filters
/// can no longer be designed and it would be silent, and up to the highest, beyond which the
/// cabinet response alone would take gigabytes.
inline constexpr double lowestAmplifierRate = 20000.0;
inline constexpr double highestAmplifierRate = 768000.0;
/// Why the amplifier cannot run at `rate` (hertz), or empty when it can.
std::string amplifierRateProblem(double rate);

/// The three steps above: a complete amplifier, ready for a sample rate and a block size.
std::shared_ptr<nodara::Driver> makeAmplifier();

} // namespace torvane
