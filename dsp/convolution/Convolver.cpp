#include "dsp/convolution/Convolver.h"

#include "kernels/Kernels.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <cstring>

namespace nodara {

namespace {

constexpr std::uint32_t fftSizeQuantum = 64;

/// A product of 2, 3 and 5 not below c, taken greedily: the first factor that divides c
/// wins, and a c with none of them is rounded up to even. Not always the smallest such
/// number (13 gives 16, not 15), but always one the transform handles well.
std::uint32_t fit(std::uint32_t c) {
    if (c <= 1) {
        return 1;
    }
    if (c % 2 == 0) {
        return 2 * fit(c / 2);
    }
    if (c % 3 == 0) {
        return 3 * fit(c / 3);
    }
    if (c % 5 == 0) {
        return 5 * fit(c / 5);
    }
    return 2 * fit((c + 1) / 2);
}

/// a[k] = a[k]·b[k] over `bins` complex values stored as (real, imaginary) pairs.
void multiplySpectra(float* a, const float* b, size_t bins) {
    for (size_t k = 0; k < bins; ++k) {
        const float ar = a[2 * k];
        const float ai = a[2 * k + 1];
        const float br = b[2 * k];
        const float bi = b[2 * k + 1];
        a[2 * k] = ar * br - ai * bi;
        a[2 * k + 1] = ar * bi + ai * br;
    }
}

} // namespace

std::uint32_t Convolver::fftSizeFor(std::uint32_t blockSize, std::uint32_t responseLength) {
    const std::uint32_t span = blockSize - 1 + responseLength;
    return fftSizeQuantum * fit((span + fftSizeQuantum - 1) / fftSizeQuantum);
}

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
    if (size > maxBlockSize) {
        maxBlockSize = size;
        if (!response.empty()) {
            rebuild();
        } else {
            // Until a response comes, a graph that bypasses this element still writes here.
            growOutput(static_cast<std::uint32_t>(size));
        }
    }
}

// Takes the path for the present block size, with the present response. The past input
// carries over either way, so that the stream stays continuous.
void Convolver::rebuild() {
    if (maxBlockSize < smallBlocks) {
        auto next = std::make_unique<PartitionedConvolution>(
            std::span<const scalar>(response.data(), responseLength));
        if (partitioned) {
            std::vector<scalar> past(std::min(partitioned->remembered(), next->remembered()));
            partitioned->copyRecent(past.data(), past.size());
            next->prime(past.data(), past.size());
        }
        partitioned = std::move(next);
        growOutput(static_cast<std::uint32_t>(maxBlockSize));
        return;
    }
    rebuildTransforms();
    if (partitioned) {
        std::vector<scalar> past(std::min<size_t>(partitioned->remembered(), fftSize));
        partitioned->copyRecent(past.data(), past.size());
        window->push(past.data(), static_cast<std::uint32_t>(past.size()));
        partitioned.reset();
    }
}

// Sizes the transforms for the present block size and response, then transforms the response.
void Convolver::rebuildTransforms() {
    const std::uint32_t size = fftSizeFor(static_cast<std::uint32_t>(maxBlockSize), responseLength);
    if (size != fftSize) {
        fft = RealFft::ofSize(size);
    }
    if (size > allocatedSize) {
        allocate(size, fft->spectrumFloats());
    }
    if (window) {
        window->resize(size);
    } else {
        window = std::make_unique<Buffer>(size);
    }
    fftSize = size;
    inverseFftSize = 1.0f / static_cast<scalar>(size);
    transformResponse();
}

void Convolver::allocate(std::uint32_t size, std::uint32_t spectrumFloats) {
    responseSpectrum = makeAlignedFloats(spectrumFloats);
    spectrum = makeAlignedFloats(spectrumFloats);
    time = makeAlignedFloats(size);
    outputBuffer = makeAlignedFloats(size);
    outputCapacity = size;
    outputs[0] = outputBuffer.get();
    allocatedSize = size;
}

void Convolver::growOutput(std::uint32_t size) {
    if (size > outputCapacity) {
        outputBuffer = makeAlignedFloats(size);
        outputCapacity = size;
        outputs[0] = outputBuffer.get();
    }
}

void Convolver::transformResponse() {
    std::fill_n(time.get(), fftSize, 0.0f);
    std::copy_n(response.begin(), responseLength, time.get());
    fft->forward(time.get(), responseSpectrum.get());
}

void Convolver::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    if (framesPerBuffer == 0) {
        return;
    }
    if (partitioned) {
        partitioned->process(in[0], outputBuffer.get(), framesPerBuffer);
        return;
    }
    if (!fft) {
        throw NodaraException("Convolver: " + name + " has no impulse response.");
    }
    const auto count = static_cast<std::uint32_t>(framesPerBuffer);
    window->push(in[0], count);
    fft->forward(window->data(), spectrum.get());
    multiplySpectra(spectrum.get(), responseSpectrum.get(), fftSize / 2 + 1);
    fft->backward(spectrum.get(), time.get());
    std::memcpy(outputBuffer.get(), time.get() + (fftSize - count), count * sizeof(scalar));
    kernels::scale(static_cast<int32>(count), inverseFftSize, outputBuffer.get());
}

void Convolver::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                        size_t framesPerBuffer) {
    process(in, framesPerBuffer);
    if (framesPerBuffer > 0) {
        // out[0] may be the own buffer.
        std::memmove(out[0], outputBuffer.get(), framesPerBuffer * sizeof(scalar));
    }
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
    if (fft || partitioned) {
        process(in, frames);
    }
}

void Convolver::reset() {
    if (window) {
        window->reset();
    }
    if (partitioned) {
        partitioned->reset();
    }
}

} // namespace nodara
