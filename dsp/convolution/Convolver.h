#pragma once

#include "kernels/AlignedFloats.h"
#include "dsp/convolution/Buffer.h"
#include "dsp/convolution/PartitionedConvolution.h"
#include "dsp/convolution/RealFft.h"
#include "runtime/Filter.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace nodara {

/// Convolution with one impulse response h of L samples, with no latency:
///     y[t] = Σ_{k<L} h[k]·x[t−k].
/// Every block transforms the window of the last N inputs, multiplies its spectrum by that of
/// the zero-padded response and transforms back; with N ≥ B + L − 1 the last n ≤ B outputs of
/// the circular result have no wrap. Each block costs two transforms of size N whatever its
/// length, and needs nothing from later blocks. Blocks that small would pay that price per
/// frame: below `smallBlocks` frames the element convolves partition by partition instead
/// (PartitionedConvolution), with the same result but for rounding.
///
/// Properties: MaxIRSize (required, ≥ 1), the longest response used. The response comes as
/// the vector property "ImpulseResponse".
class Convolver : public Filter {
public:
    using Filter::process;
    using Filter::propertyChanged;

    /// The transform size for blocks of `blockSize` and a response of `responseLength`:
    /// 64·fit(ceil((B − 1 + L)/64)), fit being a greedy product of 2, 3 and 5.
    static std::uint32_t fftSizeFor(std::uint32_t blockSize, std::uint32_t responseLength);
    /// A largest block below this takes the partitioned path.
    static constexpr std::int32_t smallBlocks = 256;

    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// "ImpulseResponse" only: copies the response; past input stays and meets the new
    /// response at once. Not while processing; allocates and may plan transforms.
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

    /// A larger size rebuilds the transforms. Not while processing; allocates.
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override { return outputs; }
    /// Forgets past input; the response stays.
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
    /// 0 until both a response and a block size are known, and on the partitioned path.
    std::uint32_t getFftSize() const { return fftSize; }

private:
    void rebuild();
    void rebuildTransforms();
    void allocate(std::uint32_t size, std::uint32_t spectrumFloats);
    /// An output buffer of at least `size` floats.
    void growOutput(std::uint32_t size);
    void transformResponse();

    int32 maxIRSize = 0;
    std::uint32_t responseLength = 0;
    std::uint32_t fftSize = 0;
    /// The largest size allocated; arrays are only replaced beyond it.
    std::uint32_t allocatedSize = 0;
    scalar inverseFftSize = 0.0f;
    std::vector<scalar> response;
    std::shared_ptr<const RealFft> fft;
    /// Spectrum of the zero-padded response.
    AlignedFloats responseSpectrum;
    /// Spectrum of the window, then the product.
    AlignedFloats spectrum;
    /// Time data: the padded response, then the circular convolution.
    AlignedFloats time;
    std::unique_ptr<Buffer> window;
    AlignedFloats outputBuffer;
    std::uint32_t outputCapacity = 0;
    std::vector<scalar*> outputs{nullptr};
    /// Set while the largest block is below `smallBlocks`.
    std::unique_ptr<PartitionedConvolution> partitioned;
};

} // namespace nodara
