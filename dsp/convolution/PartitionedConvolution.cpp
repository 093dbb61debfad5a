#include "dsp/convolution/PartitionedConvolution.h"

#include "kernels/Kernels.h"
#include "kernels/signal/SignalKernels.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace nodara {

namespace {

/// Complex values handled together by the spectrum kernel.
constexpr std::uint32_t complexGang = 8;

/// Floats of one stored spectrum of a 2B-point transform: B + 1 complex values, padded.
std::uint32_t spectrumStride(std::uint32_t blockSize) {
    return 2 * ((blockSize + 1 + complexGang - 1) / complexGang * complexGang);
}

} // namespace

PartitionedConvolution::PartitionedConvolution(const float* response, std::uint32_t length,
                                               std::uint32_t firstBlockSize)
    : layout(choosePartitionLevels(length, firstBlockSize)), firstBlock(firstBlockSize) {
    std::uint32_t largest = 0;
    std::uint32_t furthest = 0;
    std::uint32_t widest = 0;
    levels.resize(layout.size());
    for (size_t i = 0; i < layout.size(); ++i) {
        levels[i].shape = layout[i];
        buildLevel(levels[i], response, length);
        largest = std::max(largest, layout[i].blockSize);
        furthest = std::max(furthest, layout[i].end());
        widest = std::max(widest, levels[i].stride);
    }
    keep = 2 * largest;
    historyLength = 2 * keep;
    history = makeAlignedFloats(historyLength);
    write = keep;
    const std::uint64_t futureLength = std::bit_ceil(std::uint64_t{furthest} + largest + firstBlock);
    future = makeAlignedFloats(futureLength);
    futureMask = futureLength - 1;
    sum = makeAlignedFloats(widest);
    time = makeAlignedFloats(2 * largest);
    tail = makeAlignedFloats(firstBlock);
    reversedHead = makeAlignedFloats(firstBlock);
    for (std::uint32_t k = 0; k < std::min(length, firstBlock); ++k) {
        reversedHead[firstBlock - 1 - k] = response[k];
    }
}

// Each piece zero-padded to 2B points: the last B outputs of a circular convolution of a 2B
// window with it are those of the linear one.
void PartitionedConvolution::buildLevel(Level& level, const float* response, std::uint32_t length) {
    const PartitionLevel& shape = level.shape;
    const std::uint32_t points = 2 * shape.blockSize;
    level.fft = RealFft::ofSize(points);
    level.stride = spectrumStride(shape.blockSize);
    level.responseSpectra = makeAlignedFloats(size_t{shape.partitions} * level.stride);
    level.inputSpectra = makeAlignedFloats(size_t{shape.partitions} * level.stride);
    level.terms.resize(shape.partitions);
    AlignedFloats piece = makeAlignedFloats(points);
    const float inverse = 1.0f / static_cast<float>(points);
    for (std::uint32_t p = 0; p < shape.partitions; ++p) {
        const std::uint32_t start = std::min(length, shape.offset + p * shape.blockSize);
        const std::uint32_t end = std::min(length, start + shape.blockSize);
        std::fill_n(piece.get(), points, 0.0f);
        std::copy(response + start, response + end, piece.get());
        float* spectrum = level.responseSpectra.get() + size_t{p} * level.stride;
        level.fft->forward(piece.get(), spectrum);
        kernels::scale(static_cast<int32>(level.fft->spectrumFloats()), inverse, spectrum);
    }
}

void PartitionedConvolution::reset() {
    std::fill_n(history.get(), historyLength, 0.0f);
    std::fill_n(future.get(), futureMask + 1, 0.0f);
    for (Level& level : levels) {
        std::fill_n(level.inputSpectra.get(), size_t{level.shape.partitions} * level.stride, 0.0f);
        level.newest = 0;
    }
    clock = 0;
    enterStream();
}

void PartitionedConvolution::setClock(std::uint64_t sample) {
    clock = sample;
    enterStream();
}

// A block already under way has had no start: it runs direct, from silence.
void PartitionedConvolution::enterStream() {
    write = keep + static_cast<std::uint32_t>(clock % keep);
    direct = (clock & (firstBlock - 1)) != 0;
    std::fill_n(tail.get(), firstBlock, 0.0f);
}

void PartitionedConvolution::process(const float* in, float* out, std::uint32_t count) {
    std::uint32_t done = 0;
    while (done < count) {
        const auto position = static_cast<std::uint32_t>(clock & (firstBlock - 1));
        if (position == 0) {
            startFirstBlock(count - done);
        }
        const std::uint32_t step = std::min(firstBlock - position, count - done);
        appendInput(in == nullptr ? nullptr : in + done, step);
        if (direct) {
            directOutputs(out + done, step);
        }
        clock += step;
        done += step;
        if ((clock & (firstBlock - 1)) == 0) {
            completeBlocks(out + done - firstBlock);
        }
    }
}

// A block that the call holds whole waits for its end; otherwise its tail, the older spectra's
// share, comes now and each sample adds the first piece directly.
void PartitionedConvolution::startFirstBlock(std::uint32_t available) {
    direct = available < firstBlock;
    if (!direct) {
        return;
    }
    Level& first = levels.front();
    if (first.shape.partitions > 1) {
        sumPieces(first, 1);
        std::copy_n(time.get() + firstBlock, firstBlock, tail.get());
    } else {
        std::fill_n(tail.get(), firstBlock, 0.0f);
    }
}

// At a multiple of `keep` every window lies in the newer half, which moves down.
void PartitionedConvolution::appendInput(const float* in, std::uint32_t count) {
    if (write == historyLength) {
        std::memcpy(history.get(), history.get() + keep, keep * sizeof(float));
        write = keep;
    }
    if (in == nullptr) {
        std::fill_n(history.get() + write, count, 0.0f);
    } else {
        std::memcpy(history.get() + write, in, count * sizeof(float));
    }
    write += count;
}

void PartitionedConvolution::directOutputs(float* out, std::uint32_t count) {
    const auto position = static_cast<std::uint32_t>(clock & (firstBlock - 1));
    const float* oldest = history.get() + write - count - (firstBlock - 1);
    const auto taps = static_cast<int32>(firstBlock);
    for (std::uint32_t j = 0; j < count; ++j) {
        out[j] = tail[position + j] + takeFuture(clock + j) +
                 kernels::dot(reversedHead.get(), oldest + j, taps);
    }
}

void PartitionedConvolution::completeBlocks(float* blockOut) {
    Level& first = levels.front();
    transformInput(first);
    if (!direct) {
        sumPieces(first, 0);
        // The ring's length is a multiple of the block, so the block's samples do not wrap.
        float* ahead = future.get() + ((clock - firstBlock) & futureMask);
        const float* own = time.get() + firstBlock;
        for (std::uint32_t j = 0; j < firstBlock; ++j) {
            blockOut[j] = own[j] + ahead[j];
        }
        std::fill_n(ahead, firstBlock, 0.0f);
    }
    for (size_t i = 1; i < levels.size(); ++i) {
        Level& level = levels[i];
        const std::uint32_t blockSize = level.shape.blockSize;
        if ((clock & (blockSize - 1)) != 0) {
            continue;
        }
        transformInput(level);
        sumPieces(level, 0);
        addAhead(time.get() + blockSize, blockSize, clock - blockSize + level.shape.offset);
    }
}

void PartitionedConvolution::transformInput(Level& level) {
    const std::uint32_t blockSize = level.shape.blockSize;
    level.newest = (level.newest + 1) % level.shape.partitions;
    level.fft->forward(history.get() + write - 2 * blockSize,
                       level.inputSpectra.get() + size_t{level.newest} * level.stride);
}

void PartitionedConvolution::sumPieces(Level& level, std::uint32_t firstPiece) {
    const std::uint32_t pieces = level.shape.partitions;
    const std::uint32_t terms = pieces - firstPiece;
    for (std::uint32_t q = 0; q < terms; ++q) {
        const std::uint32_t slot = (level.newest + pieces - q) % pieces;
        level.terms[q] = level.inputSpectra.get() + size_t{slot} * level.stride;
    }
    kernels::sumOfSpectrumProducts(static_cast<int32>(level.stride / 2), static_cast<int32>(terms),
                                   level.terms.data(),
                                   level.responseSpectra.get() + size_t{firstPiece} * level.stride,
                                   static_cast<int32>(level.stride), sum.get());
    level.fft->backward(sum.get(), time.get());
}

void PartitionedConvolution::addAhead(const float* samples, std::uint32_t count,
                                      std::uint64_t firstSample) {
    const auto start = static_cast<std::uint32_t>(firstSample & futureMask);
    const std::uint32_t beforeWrap = std::min<std::uint32_t>(count, static_cast<std::uint32_t>(futureMask + 1 - start));
    float* ahead = future.get();
    for (std::uint32_t i = 0; i < beforeWrap; ++i) {
        ahead[start + i] += samples[i];
    }
    for (std::uint32_t i = beforeWrap; i < count; ++i) {
        ahead[i - beforeWrap] += samples[i];
    }
}

float PartitionedConvolution::takeFuture(std::uint64_t sample) {
    float& slot = future[sample & futureMask];
    const float value = slot;
    slot = 0.0f;
    return value;
}

} // namespace nodara
