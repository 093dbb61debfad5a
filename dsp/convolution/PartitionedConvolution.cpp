#include "dsp/convolution/PartitionedConvolution.h"

#include "kernels/Kernels.h"

#include <algorithm>
#include <cstring>

namespace nodara {

namespace {

constexpr std::uint32_t P = PartitionedConvolution::partition;

/// sum[k] += a[k]·b[k] over `bins` complex values stored as (real, imaginary) pairs.
void multiplyAccumulate(float* sum, const float* a, const float* b, std::uint32_t bins) {
    for (std::uint32_t k = 0; k < bins; ++k) {
        const float ar = a[2 * k];
        const float ai = a[2 * k + 1];
        const float br = b[2 * k];
        const float bi = b[2 * k + 1];
        sum[2 * k] += ar * br - ai * bi;
        sum[2 * k + 1] += ar * bi + ai * br;
    }
}

} // namespace

PartitionedConvolution::PartitionedConvolution(std::span<const float> response)
    : fft(RealFft::ofSize(2 * P)), reversedHead(P, 0.0f), tail(P, 0.0f),
      recent(std::max<std::size_t>(response.size(), P), 0.0f) {
    const std::size_t headLength = std::min<std::size_t>(P, response.size());
    std::reverse_copy(response.begin(), response.begin() + static_cast<std::ptrdiff_t>(headLength),
                      reversedHead.end() - static_cast<std::ptrdiff_t>(headLength));
    spectrumFloats = fft->spectrumFloats();
    pieces = response.size() > P ? (response.size() - P + P - 1) / P : 0;
    pieceSpectra = makeAlignedFloats(std::max<std::size_t>(pieces, 1) * spectrumFloats);
    inputSpectra = makeAlignedFloats(std::max<std::size_t>(pieces, 1) * spectrumFloats);
    line = makeAlignedFloats(2 * P);
    spectrum = makeAlignedFloats(spectrumFloats);
    sum = makeAlignedFloats(spectrumFloats);
    time = makeAlignedFloats(2 * P);
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        std::fill_n(time.get(), 2 * P, 0.0f);
        const std::size_t first = P + piece * P;
        const std::size_t count = std::min<std::size_t>(P, response.size() - first);
        std::copy_n(response.begin() + static_cast<std::ptrdiff_t>(first), count, time.get());
        // The transform wants aligned arrays; the spectra lie at any float in their rows.
        fft->forward(time.get(), spectrum.get());
        std::memcpy(pieceSpectra.get() + piece * spectrumFloats, spectrum.get(),
                    spectrumFloats * sizeof(float));
    }
}

void PartitionedConvolution::reset() {
    std::fill_n(line.get(), 2 * P, 0.0f);
    std::fill_n(inputSpectra.get(), std::max<std::size_t>(pieces, 1) * spectrumFloats, 0.0f);
    std::fill(tail.begin(), tail.end(), 0.0f);
    std::fill(recent.begin(), recent.end(), 0.0f);
    position = 0;
    newest = 0;
    recentAt = 0;
}

void PartitionedConvolution::prime(const float* history, std::size_t count) {
    reset();
    std::vector<float> ignored(P);
    for (std::size_t done = 0; done < count; done += P) {
        process(history + done, ignored.data(), std::min<std::size_t>(P, count - done));
    }
}

void PartitionedConvolution::copyRecent(float* destination, std::size_t count) const {
    const std::size_t size = recent.size();
    std::size_t from = (recentAt + size - count) % size;
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] = recent[from];
        from = from + 1 == size ? 0 : from + 1;
    }
}

// The head sums the last P inputs, which stand in the line just before and at the present
// position, against the reversed taps.
void PartitionedConvolution::process(const float* in, float* out, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        const float sample = in != nullptr ? in[i] : 0.0f;
        line[P + position] = sample;
        recent[recentAt] = sample;
        recentAt = recentAt + 1 == recent.size() ? 0 : recentAt + 1;
        out[i] = kernels::dot(line.get() + position + 1, reversedHead.data(), P) + tail[position];
        if (++position == P) {
            completePartition();
            position = 0;
        }
    }
}

// The line holds partitions m−1 and m. Piece j meets the pair m−j−1, m−j; the last P values of
// the inverse transform are the second term for the outputs of partition m + 1.
void PartitionedConvolution::completePartition() {
    if (pieces > 0) {
        newest = (newest + pieces - 1) % pieces;
        float* latest = inputSpectra.get() + newest * spectrumFloats;
        fft->forward(line.get(), spectrum.get());
        std::memcpy(latest, spectrum.get(), spectrumFloats * sizeof(float));
        std::fill_n(sum.get(), spectrumFloats, 0.0f);
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            const std::size_t slot = (newest + piece) % pieces;
            multiplyAccumulate(sum.get(), inputSpectra.get() + slot * spectrumFloats,
                               pieceSpectra.get() + piece * spectrumFloats, spectrumFloats / 2);
        }
        fft->backward(sum.get(), time.get());
        const float scale = 1.0f / static_cast<float>(2 * P);
        for (std::uint32_t q = 0; q < P; ++q) {
            tail[q] = time[P + q] * scale;
        }
    }
    std::memcpy(line.get(), line.get() + P, P * sizeof(float));
}

} // namespace nodara
