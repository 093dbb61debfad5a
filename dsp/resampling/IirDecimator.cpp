#include "dsp/resampling/IirDecimator.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstring>

namespace nodara {

void IirDecimator::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    checkFactor();
    if (framesPerBuffer > static_cast<size_t>(maxBlockSize)) {
        throw NodaraException(concat("IirDecimator: framesPerBuffer (", framesPerBuffer,
                                     ") is greater than maxBlockSize (", maxBlockSize, ")."));
    }
    scalar* input = in[0];
    if (input == nullptr) {
        // An unwired input is silence; the work buffer is free until the decimation below.
        std::fill_n(workBuffer.get(), framesPerBuffer, 0.0f);
        input = workBuffer.get();
    }
    const scalar* filtered = runStages(input, framesPerBuffer);
    const auto step = static_cast<size_t>(factor);
    size_t kept = 0;
    for (size_t i = 0; i < framesPerBuffer; i += step) {
        workBuffer[kept++] = filtered[i];
    }
}

void IirDecimator::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                           size_t framesPerBuffer) {
    process(in, framesPerBuffer);
    std::memmove(out[0], workBuffer.get(),
                 framesPerBuffer / static_cast<size_t>(factor) * sizeof(scalar));
}

void IirDecimator::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("IirDecimator: Invalid maxBlockSize", size));
    }
    if (size > maxBlockSize) {
        maxBlockSize = size;
        setStagesMaxBlockSize(size);
        workBuffer = std::make_unique<scalar[]>(static_cast<size_t>(size));
        outputs[0] = workBuffer.get();
    }
}

scalar* IirDecimator::getOutput(int32 index) {
    if (index != 0) {
        throw InvalidArgumentException(concat("Iir: Invalid output index: ", index));
    }
    return workBuffer.get();
}

} // namespace nodara
