#include "dsp/convolution/PartitionLayout.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace nodara {

namespace {

constexpr std::uint32_t smallestFirstBlock = 64;
constexpr std::uint32_t largestFirstBlock = 256;
/// Larger block sizes tried; enough for responses of millions of taps.
constexpr size_t mostLargerSizes = 16;

// Nanoseconds per sample, measured with FFTW's measured plans on an x86-64 server core: a pair
// of transforms of 2·B points costs about 3.7 ns per sample of B whatever B, plus the fixed
// work of a block; a spectrum product costs about 0.15 ns per piece and sample.
constexpr double transformsPerSample = 3.7;
constexpr double fixedPerBlock = 100.0;
constexpr double productPerPiece = 0.15;

double costOf(const std::vector<PartitionLevel>& levels) {
    double cost = 0.0;
    for (const PartitionLevel& level : levels) {
        cost += transformsPerSample + fixedPerBlock / level.blockSize +
                productPerPiece * level.partitions;
    }
    return cost;
}

std::uint32_t piecesToReach(std::uint32_t from, std::uint32_t to, std::uint32_t blockSize) {
    return to > from ? (to - from + blockSize - 1) / blockSize : 1;
}

/// The layout whose levels after the first have the blocks `larger` (ascending): each level
/// gets the pieces needed for the next to start at its block size or later, the last one the
/// rest of the response. Empty when a level would start past the response.
std::vector<PartitionLevel> layoutWith(std::uint32_t length, std::uint32_t firstBlock,
                                       const std::vector<std::uint32_t>& larger) {
    std::vector<PartitionLevel> levels{{firstBlock, 0, 0}};
    for (std::uint32_t blockSize : larger) {
        PartitionLevel& last = levels.back();
        last.partitions = piecesToReach(last.offset, blockSize, last.blockSize);
        if (last.end() >= length) {
            return {};
        }
        levels.push_back({blockSize, last.end(), 0});
    }
    PartitionLevel& last = levels.back();
    last.partitions = piecesToReach(last.offset, length, last.blockSize);
    return levels;
}

} // namespace

std::uint32_t firstBlockFor(std::uint32_t maxBlockSize) {
    if (maxBlockSize <= smallestFirstBlock) {
        return smallestFirstBlock;
    }
    return std::min(std::bit_floor(maxBlockSize), largestFirstBlock);
}

std::vector<PartitionLevel> choosePartitionLevels(std::uint32_t length, std::uint32_t firstBlock) {
    std::vector<std::uint32_t> sizes;
    for (std::uint32_t size = 2 * firstBlock; size < length && sizes.size() < mostLargerSizes;
         size *= 2) {
        sizes.push_back(size);
    }
    std::vector<PartitionLevel> best;
    double bestCost = std::numeric_limits<double>::infinity();
    // Every subset of the larger sizes, in ascending order within it.
    for (std::uint32_t subset = 0; subset < (1u << sizes.size()); ++subset) {
        std::vector<std::uint32_t> larger;
        for (size_t i = 0; i < sizes.size(); ++i) {
            if (subset & (1u << i)) {
                larger.push_back(sizes[i]);
            }
        }
        const std::vector<PartitionLevel> levels = layoutWith(length, firstBlock, larger);
        if (!levels.empty() && costOf(levels) < bestCost) {
            bestCost = costOf(levels);
            best = levels;
        }
    }
    return best;
}

} // namespace nodara
