#pragma once

#include "dsp/fir/Fir.h"

#include <vector>

namespace nodara {

/// Raises the rate by `Factor`: zero insertion and the finite filter in one step, without
/// multiplying the zeros. The taps, padded with zeros to Factor·L, are split into Factor
/// phases of L taps, phase p holding h[p], h[p + F], h[p + 2F], …; output frame F·i + p is the
/// dot product of phase p with the L newest input frames, newest first. The taps are used as
/// given: for unity gain they sum to Factor.
///
/// Properties: Factor (at least 1), optional Coefficients. Block sizes count input frames;
/// a block gives Factor frames per input frame. A change of Factor sets the rate ratio of
/// the element's graph and splits the taps anew; the driver's next block brings the larger
/// output buffer. The history of input frames survives both. Iteration is not supported.
class PolyphaseUpsampler : public Fir {
public:
    using Fir::process;
    using Fir::propertyChanged;
    /// "Factor". Audio thread; allocates when a larger factor needs more room for the split.
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Keeps the taps and splits them for the present Factor. Keeps the history.
    void setCoefficients(const scalar* taps, size_t count) override;
    /// `out` takes Factor × framesPerBuffer frames. In place is allowed.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame, int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;

    int32 getFactor() const { return factor; }

protected:
    size_t outputFramesFor(size_t frames) const override;
    /// After a new Factor: splits the taps in use anew.
    virtual void factorChanged();
    /// The Factor read at init.
    void startWithFactor(int32 value);

    int32 factor = 1;

private:
    std::vector<scalar> given;
    /// Phase p's groups start at group p·phaseGroups.
    std::vector<fir::TapGroup> phaseTaps;
    /// The Factor of the split in use.
    int32 phases = 1;
    int32 phaseLength = 0;
    int32 phaseGroups = 0;
    /// The phaseLength newest input frames, newest first, zeros behind.
    std::array<fir::TapGroup, maxTaps / 4> work{};
};

} // namespace nodara
