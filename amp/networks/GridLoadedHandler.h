#pragma once

#include "amp/networks/GridLoad.h"
#include "runtime/PropertiesHandler.h"

#include <span>

namespace torvane {

/// What the networks loaded by a conducting grid share: coefficients due at every sample
/// unless the grid's conductance stands (`GridLoad`), and due afresh after a reset. `Network`
/// computes them in its own update(input, lastOutput); called through the final class, that
/// call needs no second dispatch on the per-sample path.
///
/// Threads: the update runs on the audio thread inside the filter's `process`.
template <class Network>
class GridLoadedHandler : public nodara::PropertiesHandler {
public:
    bool needsSampleUpdate() final { return true; }
    void update(nodara::Filter*, nodara::scalar input, nodara::scalar lastOutput) final {
        static_cast<Network*>(this)->update(input, lastOutput);
    }
    /// The grid's say; none while the coefficients are due afresh.
    size_t unchangedFrames(const nodara::scalar*, nodara::scalar lastOutput,
                           const nodara::scalar* outputs, size_t frames) final {
        return dirty ? 0 : grid.unchangedFrames(lastOutput, outputs, frames);
    }
    /// The next sample computes its coefficients afresh.
    void reset() final {
        grid.reset();
        dirty = true;
    }

protected:
    /// `gridResistance` in ohms from `vinMin` to `vinMax` volts in steps of `deltaV`.
    GridLoadedHandler(std::span<const float> gridResistance, const char* vinMin,
                      const char* vinMax, const char* deltaV)
        : grid(gridResistance, vinMin, vinMax, deltaV) {}

    GridLoad grid;
    /// The coefficients must be computed at the next sample, whatever the grid does.
    bool dirty = true;
};

} // namespace torvane
