#include "dsp/resampling/IirInterpolator.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstring>

namespace nodara {

scalar IirInterpolator::relativeCorner(scalar sampleRate) const {
    return (cornerFrequency / sampleRate) / static_cast<scalar>(factor);
}

void IirInterpolator::installDesign(const std::shared_ptr<std::vector<scalar>>& a,
                                    const std::shared_ptr<std::vector<scalar>>& b) {
    IirResampler::installDesign(a, b);
    auto scaled = std::make_shared<std::vector<scalar>>(*b);
    for (scalar& coefficient : *scaled) {
        coefficient *= static_cast<scalar>(factor);
    }
    stages.front()->propertyChanged("B", scaled);
}

void IirInterpolator::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    checkFactor();
    const size_t frames = static_cast<size_t>(factor) * framesPerBuffer;
    if (frames > static_cast<size_t>(maxBlockSize)) {
        throw NodaraException(concat("IirInterpolator: framesPerBuffer (", frames,
                                     ") is greater than maxBlockSize (", maxBlockSize, ")."));
    }
    std::fill_n(workBuffer.get(), frames, 0.0f);
    if (const scalar* input = in[0]) {
        for (size_t i = 0; i < framesPerBuffer; ++i) {
            workBuffer[static_cast<size_t>(factor) * i] = input[i];
        }
    }
    runStages(workBuffer.get(), frames);
}

void IirInterpolator::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                              size_t framesPerBuffer) {
    process(in, framesPerBuffer);
    std::memmove(out[0], getOutput(0),
                 static_cast<size_t>(factor) * framesPerBuffer * sizeof(scalar));
}

void IirInterpolator::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("IirInterpolator: Invalid maxBlockSize", size));
    }
    const int32 frames = factor * size;
    if (frames > maxBlockSize) {
        maxBlockSize = frames;
        setStagesMaxBlockSize(frames);
        workBuffer = std::make_unique<scalar[]>(static_cast<size_t>(frames));
    }
}

scalar* IirInterpolator::getOutput(int32 index) {
    if (index != 0) {
        throw InvalidArgumentException(concat("Iir: Invalid output index: ", index));
    }
    return stages.back()->getOutput(0);
}

std::vector<scalar*>& IirInterpolator::getOutputs() { return stages.back()->getOutputs(); }

} // namespace nodara
