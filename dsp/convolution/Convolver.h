#pragma once

#include "dsp/convolution/PartitionedConvolution.h"
#include "runtime/Filter.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace nodara {

/// Convolution with one impulse response h of L samples, with no latency:
///     y[t] = Σ_{k<L} h[k]·x[t−k],
/// by a non-uniformly partitioned convolution (PartitionedConvolution.h) whose first level
/// follows the block size, so that blocks of any length from 1 up cost about the same per
/// sample and small ones do not pay for large transforms.
///
/// A new response or a larger block size builds the partitions afresh and runs the recent input
/// through them, so the stream goes on without a break and a new response applies at once to
/// past input. This planning and building allocates and may take a few tenths of a second on
/// the first use of a transform size in the process: it belongs to start-up, rate and response
/// changes, never to the audio thread.
///
/// Properties: MaxIRSize (required, ≥ 1), the longest response used. The response comes as
/// the vector property "ImpulseResponse".
class Convolver : public Filter {
public:
    using Filter::process;
    using Filter::propertyChanged;

    /// Allocates the record of recent input, four times MaxIRSize rounded up to a power of two.
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// "ImpulseResponse" only: copies the response and, once a block size is known, builds the
    /// partitions. Not while processing; allocates and plans transforms.
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& value) override;

    /// Audio thread; allocates nothing. Needs a response and a block size; at most the
    /// block size set.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    /// As above, then copies the frames to out[0].
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;

    IterationResults& iteration(const IterationResults& in, size_t frame, int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;

    /// A larger size grows the output and may rebuild the partitions. Not while processing;
    /// allocates.
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override { return outputs; }
    /// Forgets past input and goes on as a fresh instance would; the response stays.
    void reset() override;
    /// Forgets past input and takes one block: exact for silence, which is what a convolver
    /// behind a DC blocker settles to; filling a long response's window would take seconds.
    void settle(const std::vector<scalar*>& in, size_t frames) override;
    /// The convolution does not depend on the rate.
    void setSampleRate(scalar) override {}

    int32 getMaxIRSize() const { return maxIRSize; }
    /// The response as delivered, possibly longer than the part in use.
    const std::vector<scalar>& getImpulseResponse() const { return response; }
    std::uint32_t getResponseLength() const { return responseLength; }
    /// The partitions in use; empty until both a response and a block size are known.
    std::vector<PartitionLevel> getPartitionLevels() const;

private:
    void rebuild();
    void remember(const scalar* in, std::uint32_t count);
    void replayRecentInput();

    int32 maxIRSize = 0;
    std::uint32_t responseLength = 0;
    std::vector<scalar> response;
    std::unique_ptr<PartitionedConvolution> engine;
    /// The last inputs by sample number modulo its length: enough to bring new partitions to
    /// the state of the old ones.
    std::vector<scalar> recent;
    /// Samples since construction or the last reset, and whether there were any.
    std::uint64_t clock = 0;
    bool heard = false;
    AlignedFloats outputBuffer;
    std::vector<scalar*> outputs{nullptr};
};

} // namespace nodara
