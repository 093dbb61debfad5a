#pragma once

#include "dsp/resampling/IirResampler.h"

namespace nodara {

/// Raises the rate by `Factor`: zero stuffing, then the low-pass cascade, whose first stage is
/// scaled by the factor to make up for the level the zeros take. Its block size counts frames
/// after stuffing.
class IirInterpolator : public IirResampler {
public:
    IirInterpolator() : IirResampler("IirInterpolator", "interpolation filter ") {}

    using IirResampler::process;
    /// Factor × framesPerBuffer frames out, in the last stage's buffer.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// Allocates: Factor × maxBlockSize frames, when that grows.
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override;

protected:
    scalar relativeCorner(scalar sampleRate) const override;
    double graphMultiplier(double value) const override { return value; }
    void installDesign(const std::shared_ptr<std::vector<scalar>>& a,
                       const std::shared_ptr<std::vector<scalar>>& b) override;
};

} // namespace nodara
