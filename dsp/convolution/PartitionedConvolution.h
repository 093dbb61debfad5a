#pragma once

#include "dsp/convolution/RealFft.h"
#include "kernels/AlignedFloats.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace nodara {

/// Convolution with no latency for blocks of a few frames, where transforming a window as
/// long as the response for every block would cost far more than the block is worth:
///     y[t] = Σ_{k<P} h[k]·x[t−k]  +  Σ_{k≥P} h[k]·x[t−k].
/// The first P taps are summed directly, sample by sample. The rest is a uniformly partitioned
/// overlap-save: the response beyond P in pieces of P taps, each transformed once; whenever P
/// inputs are complete, their transform joins a line of the past ones, and one sum of products
/// and one inverse transform give the second term for the next P outputs, which by then needs
/// no later input. The same sums as a plain convolution, in another order.
class PartitionedConvolution {
public:
    /// Taps summed directly, and the length of each piece of the rest.
    static constexpr std::uint32_t partition = 64;

    /// Transforms `response` (at least one sample). Allocates.
    explicit PartitionedConvolution(std::span<const float> response);

    /// `frames` outputs for `frames` inputs; null input is silence. Audio thread; allocates
    /// nothing.
    void process(const float* in, float* out, std::size_t frames);
    /// Forgets past input.
    void reset();
    /// Forgets past input, then takes `count` samples of it, oldest first, as if they had been
    /// processed. Allocates.
    void prime(const float* history, std::size_t count);
    /// The last `count` inputs, oldest first, into `destination`; at most `remembered()`.
    void copyRecent(float* destination, std::size_t count) const;
    /// How many past inputs it keeps: as many as the response is long.
    std::size_t remembered() const { return recent.size(); }

private:
    void completePartition();

    std::shared_ptr<const RealFft> fft;
    /// h[P−1] .. h[0], zero where the response is shorter.
    std::vector<float> reversedHead;
    /// Pieces of the response beyond the head.
    std::size_t pieces = 0;
    std::uint32_t spectrumFloats = 0;
    /// The spectrum of each piece, zero-padded to 2P.
    AlignedFloats pieceSpectra;
    /// The spectra of the last `pieces` pairs of input partitions, a ring; `newest` is the
    /// latest.
    AlignedFloats inputSpectra;
    std::size_t newest = 0;
    /// The partition before the present one, then the present one as it fills.
    AlignedFloats line;
    std::uint32_t position = 0;
    /// Scratch: one spectrum, the sum of products, and its inverse.
    AlignedFloats spectrum;
    AlignedFloats sum;
    AlignedFloats time;
    /// The second term for each output of the present partition.
    std::vector<float> tail;
    /// The latest inputs, a ring, so that a larger block size can take the stream over.
    std::vector<float> recent;
    std::size_t recentAt = 0;
};

} // namespace nodara
