#include "dsp/convolution/Convolver.h"

#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace nodara {

namespace {

/// Samples run through new partitions at a time while they catch up.
constexpr std::uint32_t replayChunk = 1024;

} // namespace

void Convolver::init(const std::string& convolverName, const Properties& convolverProperties,
                     std::shared_ptr<DSPContext>& convolverContext) {
    Filter::init(convolverName, convolverProperties, convolverContext);
    requireProperty(convolverProperties, "MaxIRSize", maxIRSize, intParser,
                    NodaraException("MaxIRSize is not defined. Convolver name=" + convolverName));
    if (maxIRSize < 1) {
        throw InvalidArgumentException(
            concat("MaxIRSize must be greater than or equal to 0. Convolver name=", convolverName,
                   " MaxIRSize=", maxIRSize));
    }
    limits::requireAtMost("Convolver " + convolverName, "MaxIRSize", maxIRSize,
                          limits::responseSamples);
    // The replay needs the response's length and two of the largest blocks, which are shorter
    // than the response.
    recent.assign(std::bit_ceil(4 * static_cast<std::uint64_t>(maxIRSize)), 0.0f);
    outputs.assign(1, outputBuffer.get());
}

void Convolver::propertyChanged(const std::string& propertyName,
                                const std::shared_ptr<std::vector<scalar>>& value) {
    if (propertyName != "ImpulseResponse") {
        throw InvalidArgumentException("Convolver: Invalid property. Name=" + propertyName);
    }
    if (!value || value->empty()) {
        throw InvalidArgumentException("Convolver: Invalid impulse response. IR is empty.");
    }
    response = *value;
    responseLength =
        static_cast<std::uint32_t>(std::min(response.size(), static_cast<size_t>(maxIRSize)));
    if (maxBlockSize > 0) {
        rebuild();
    }
}

void Convolver::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("Convolver: Invalid maxBlockSize", size));
    }
    if (size <= maxBlockSize) {
        return;
    }
    const std::uint32_t formerFirstBlock =
        maxBlockSize > 0 ? firstBlockFor(static_cast<std::uint32_t>(maxBlockSize)) : 0;
    maxBlockSize = size;
    outputBuffer = makeAlignedFloats(static_cast<size_t>(size));
    outputs[0] = outputBuffer.get();
    if (!response.empty() &&
        (!engine || firstBlockFor(static_cast<std::uint32_t>(size)) != formerFirstBlock)) {
        rebuild();
    }
}

void Convolver::rebuild() {
    engine = std::make_unique<PartitionedConvolution>(
        response.data(), responseLength, firstBlockFor(static_cast<std::uint32_t>(maxBlockSize)));
    replayRecentInput();
}

// The new partitions hear the input that still reaches the output, from silence and on the
// same grid of sample numbers, and so reach the state the old ones had, within rounding.
void Convolver::replayRecentInput() {
    if (!heard) {
        engine->setClock(clock);
        return;
    }
    std::uint32_t largest = 0;
    for (const PartitionLevel& level : engine->getLevels()) {
        largest = std::max(largest, level.blockSize);
    }
    const std::uint64_t wanted = std::uint64_t{responseLength} + 2 * std::uint64_t{largest};
    const std::uint64_t span = std::min(clock, wanted);
    const std::uint64_t mask = recent.size() - 1;
    std::vector<scalar> chunk(replayChunk);
    std::vector<scalar> discarded(replayChunk);
    engine->setClock(clock - span);
    for (std::uint64_t sample = clock - span; sample < clock;) {
        const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(replayChunk, clock - sample));
        for (std::uint32_t i = 0; i < count; ++i) {
            chunk[i] = recent[(sample + i) & mask];
        }
        engine->process(chunk.data(), discarded.data(), count);
        sample += count;
    }
}

void Convolver::remember(const scalar* in, std::uint32_t count) {
    const size_t length = recent.size();
    // A block longer than the record leaves only its newest samples in it.
    const size_t kept = std::min<size_t>(count, length);
    const scalar* newest = in == nullptr ? nullptr : in + (count - kept);
    const auto start = static_cast<size_t>((clock + (count - kept)) & (length - 1));
    const size_t beforeWrap = std::min(kept, length - start);
    if (newest == nullptr) {
        std::fill_n(recent.begin() + static_cast<std::ptrdiff_t>(start), beforeWrap, 0.0f);
        std::fill_n(recent.begin(), kept - beforeWrap, 0.0f);
    } else {
        std::copy_n(newest, beforeWrap, recent.begin() + static_cast<std::ptrdiff_t>(start));
        std::copy_n(newest + beforeWrap, kept - beforeWrap, recent.begin());
    }
    clock += count;
    heard = true;
}

void Convolver::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    if (framesPerBuffer == 0) {
        return;
    }
    if (!engine) {
        throw NodaraException("Convolver: " + name + " has no impulse response.");
    }
    const auto count = static_cast<std::uint32_t>(framesPerBuffer);
    // An unwired input is silence.
    engine->process(in[0], outputBuffer.get(), count);
    remember(in[0], count);
}

void Convolver::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                        size_t framesPerBuffer) {
    process(in, framesPerBuffer);
    if (framesPerBuffer > 0) {
        // out[0] may be the own buffer.
        std::memmove(out[0], outputBuffer.get(), framesPerBuffer * sizeof(scalar));
    }
}

std::vector<PartitionLevel> Convolver::getPartitionLevels() const {
    return engine ? engine->getLevels() : std::vector<PartitionLevel>{};
}

Filter::IterationResults& Convolver::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException("Convolver: Iteration is not supported.");
}

Filter::IterationResults& Convolver::getLastIterationResults() {
    throw OperationNotSupportedException("Convolver: getLastIterationResults is not supported.");
}

size_t Convolver::endIteration(size_t) {
    throw OperationNotSupportedException("Convolver: endIteration is not supported.");
}

scalar* Convolver::getOutput(int32 index) {
    if (index != 0) {
        throw InvalidArgumentException(concat("Convolver: Invalid output index: ", index));
    }
    return outputBuffer.get();
}

void Convolver::settle(const std::vector<scalar*>& in, size_t frames) {
    reset();
    if (engine) {
        process(in, frames);
    }
}

void Convolver::reset() {
    if (engine) {
        engine->reset();
    }
    std::fill(recent.begin(), recent.end(), 0.0f);
    clock = 0;
    heard = false;
}

} // namespace nodara
