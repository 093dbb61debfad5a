#pragma once

#include "dsp/elements/LookupTableFilter.h"

#include <cstddef>
#include <memory>
#include <span>

namespace torvane {

/// A grid that loads a network when driven positive: its conductance over its voltage (a
/// resistance curve in ohms, inverted, 1/R in single precision, into a table of siemens), read
/// at the voltage predicted by straight-line extrapolation of the network's last two outputs.
/// New coefficients are due only when the conductance leaves ±10 % of the value they stand
/// for: below the onset the table is flat, and a quiet signal costs one lookup per sample.
class GridLoad {
public:
    GridLoad(std::span<const float> resistance, const char* vinMin, const char* vinMax,
             const char* deltaV);

    /// Steps on to the next sample; true, with its conductance in siemens, when the
    /// coefficients must be computed for it (always when `force`); false while they stand.
    /// Runs per sample: inline, and its lookup too.
    bool next(nodara::scalar lastOutput, bool force, double& conductance) {
        y2 = y1;
        y1 = lastOutput;
        const nodara::scalar predicted = 2.0f * y1 - y2;
        const double g = lookup->lookupOne(predicted);
        if (stands(g) && !force) {
            return false;
        }
        lastG = g;
        conductance = g;
        return true;
    }
    /// Of `frames` samples whose outputs would be `outputs` (the one before them being
    /// `lastOutput`), how many in a row `next` would let the coefficients stand; steps on past
    /// those. A prediction on the table's flat start needs no lookup.
    size_t unchangedFrames(nodara::scalar lastOutput, const nodara::scalar* outputs,
                           size_t frames);
    /// Forgets the outputs seen and the conductance in force.
    void reset();

private:
    /// From sample j ≥ 2 of `outputs`, the first sample whose prediction may leave the
    /// table's flat start (or a few before it).
    size_t flatFrom(const nodara::scalar* outputs, size_t j, size_t frames) const;
    /// Whether the coefficients for `lastG` still serve a conductance of g.
    bool stands(double g) const { return lastG * 1.1 > g && g > lastG * 0.9; }

    std::unique_ptr<nodara::LookupTableFilter> lookup;
    /// Table indices below this one all give the first entry, `flatConductance`.
    nodara::int32 flatEnd = 1;
    double flatConductance = 0.0;
    /// The network's last two outputs.
    nodara::scalar y1 = 0.0f;
    nodara::scalar y2 = 0.0f;
    /// The conductance the coefficients stand for; 0 at first, so the first sample computes.
    double lastG = 0.0;
};

} // namespace torvane
