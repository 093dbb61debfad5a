#pragma once

#include "dsp/convolution/PartitionLayout.h"
#include "dsp/convolution/RealFft.h"
#include "kernels/AlignedFloats.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace nodara {

/// Convolution with a response h of L taps, with no latency, by non-uniformly partitioned
/// overlap-save: y[t] = Σ_{k<L} h[k]·x[t−k].
///
/// The response is cut into levels of pieces (PartitionLayout.h). The input is split into
/// blocks of each level's size on one grid of absolute sample numbers; when a block of B
/// samples is complete, its window of the last 2B inputs is transformed once, kept in the
/// level's line of past spectra, and the level's pieces are multiplied with that line. The
/// first level answers the block it belongs to. If a call holds the whole block, the block's
/// own spectrum is included and one inverse transform gives its output; if a call's end cuts
/// the block, its older spectra give the block's tail at its start, and each sample adds the
/// first piece of the response by a direct convolution. Later levels, which start at a tap
/// of at least their block size, add their outputs ahead into a ring of future samples.
///
/// Not thread-safe. `process` and `reset` allocate nothing and take no lock.
class PartitionedConvolution {
public:
    /// Plans the transforms by measurement, transforms the response (`length` ≥ 1 taps) and
    /// allocates every buffer. `firstBlock` is a power of two. Allocates; waits for the planner.
    PartitionedConvolution(const float* response, std::uint32_t length, std::uint32_t firstBlock);

    /// `count` outputs for `count` inputs; a null input is silence. Any count.
    void process(const float* in, float* out, std::uint32_t count);
    /// Silence in every state, and the blocks' grid starts at the next sample: as built.
    void reset();
    /// The number of the next input sample, on the grid of the blocks. Only the phase against
    /// the largest block counts; set it on a fresh or reset instance to carry on a stream.
    void setClock(std::uint64_t sample);

    const std::vector<PartitionLevel>& getLevels() const { return layout; }

private:
    struct Level {
        PartitionLevel shape;
        std::shared_ptr<const RealFft> fft;
        /// Floats from one spectrum to the next: B + 1 complex values padded to a multiple of 8.
        std::uint32_t stride = 0;
        /// The pieces' spectra, scaled by 1/(2B) so that the inverse transform gives the output.
        AlignedFloats responseSpectra;
        /// The spectra of the last `partitions` input windows, as a ring.
        AlignedFloats inputSpectra;
        std::uint32_t newest = 0;
        /// The terms of the next product, newest first.
        std::vector<const float*> terms;
    };

    void buildLevel(Level& level, const float* response, std::uint32_t length);
    void enterStream();
    void startFirstBlock(std::uint32_t available);
    void appendInput(const float* in, std::uint32_t count);
    void directOutputs(float* out, std::uint32_t count);
    void completeBlocks(float* blockOut);
    void transformInput(Level& level);
    /// The inverse transform of Σ over the level's pieces from `firstPiece` of the products
    /// with the input spectra, newest first; the second half lands in `time` + B.
    void sumPieces(Level& level, std::uint32_t firstPiece);
    void addAhead(const float* samples, std::uint32_t count, std::uint64_t firstSample);
    float takeFuture(std::uint64_t sample);

    std::vector<PartitionLevel> layout;
    std::vector<Level> levels;
    std::uint32_t firstBlock;
    /// The first piece in time order reversed, for the direct sums of a cut block.
    AlignedFloats reversedHead;
    /// Recent input, the newest at `write`; at least the largest window always stands before it.
    AlignedFloats history;
    std::uint32_t historyLength = 0;
    std::uint32_t keep = 0;
    std::uint32_t write = 0;
    /// Outputs of the later levels by sample number, modulo its length.
    AlignedFloats future;
    std::uint64_t futureMask = 0;
    AlignedFloats sum;
    AlignedFloats time;
    /// The first level's tail for the block under way when it runs direct.
    AlignedFloats tail;
    bool direct = false;
    std::uint64_t clock = 0;
};

} // namespace nodara
