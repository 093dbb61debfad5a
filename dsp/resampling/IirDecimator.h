#pragma once

#include "dsp/resampling/IirResampler.h"

namespace nodara {

/// Lowers the rate by `Factor`: the low-pass cascade at the high rate, then every Factor-th
/// frame, starting with the first frame of each block. Its block size counts input frames.
class IirDecimator : public IirResampler {
public:
    IirDecimator() : IirResampler("IirDecimator", "decimation filter ") {}

    using IirResampler::process;
    /// framesPerBuffer / Factor frames out (rounded up), in its own buffer.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// Allocates, when the size grows.
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override { return outputs; }

protected:
    scalar relativeCorner(scalar sampleRate) const override { return cornerFrequency / sampleRate; }
    double graphMultiplier(double value) const override { return 1.0 / value; }

private:
    std::vector<scalar*> outputs{nullptr};
};

} // namespace nodara
