#pragma once

#include <cstdint>
#include <vector>

namespace nodara {

/// One level of a non-uniformly partitioned convolution: `partitions` consecutive pieces of
/// the response of `blockSize` taps each, starting at tap `offset`, each convolved by
/// transforms of 2·blockSize points.
struct PartitionLevel {
    std::uint32_t blockSize = 0;
    std::uint32_t offset = 0;
    std::uint32_t partitions = 0;

    std::uint32_t end() const { return offset + partitions * blockSize; }
    bool operator==(const PartitionLevel&) const = default;
};

/// The first level's block for hosts whose blocks reach `maxBlockSize`: the largest power of
/// two not above it, kept from 64 to 256. Blocks that cover a whole first-level block run on
/// transforms alone; the samples of a block cut by a call's end take a direct convolution with
/// the first piece, whose cost grows with its length, hence the upper bound.
std::uint32_t firstBlockFor(std::uint32_t maxBlockSize);

/// The levels for a response of `length` taps (at least 1), the first one of `firstBlock` taps
/// per piece starting at tap 0, the others of larger powers of two. A level of block B may
/// start only at a tap of B or more: its blocks end one sample before the first output they
/// reach. Among all such layouts this takes the cheapest by a cost per sample of two
/// transforms per level and one spectrum product per piece.
std::vector<PartitionLevel> choosePartitionLevels(std::uint32_t length, std::uint32_t firstBlock);

} // namespace nodara
