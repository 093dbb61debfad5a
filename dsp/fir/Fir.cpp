#include "dsp/fir/Fir.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace nodara {

void Fir::propertyChanged(const std::string& propertyName,
                          const std::shared_ptr<std::vector<scalar>>& values) {
    if (propertyName != "Coefficients") {
        throw InvalidArgumentException("Fir: Invalid property name " + propertyName);
    }
    setCoefficients(values->data(), values->size());
}

void Fir::init(const std::string& filterName, const Properties& filterProperties,
               std::shared_ptr<DSPContext>& filterContext) {
    Filter::init(filterName, filterProperties, filterContext);
    readCoefficients(filterProperties);
}

void Fir::readCoefficients(const Properties& filterProperties) {
    std::string text;
    if (readProperty(filterProperties, "Coefficients", text, stringParser)) {
        std::vector<scalar> values;
        splitScalars(text, listSeparator, values);
        setCoefficients(values.data(), values.size());
    }
}

void Fir::setCoefficients(const scalar* values, size_t count) {
    if (values == nullptr) {
        throw NodaraException("Fir: b cannot be null");
    }
    if (count > static_cast<size_t>(maxTaps)) {
        throw NodaraException(
            concat("Maximum filter order is ", maxTaps, ". You requested: ", count));
    }
    groups = static_cast<int32>((count + 3) / 4);
    // Reversed over the padded length: the zeros behind h's last tap come first.
    const size_t padded = 4 * static_cast<size_t>(groups);
    for (size_t j = 0; j < padded; ++j) {
        const size_t k = padded - 1 - j;
        taps[j / 4].lane[j % 4] = k < count ? values[k] : 0.0f;
    }
    keepFrames(std::max<int32>(4 * groups - 1, 0));
}

void Fir::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    const size_t produced = outputFramesFor(framesPerBuffer);
    if (produced > outputCapacity) {
        throw NodaraException(concat("Fir: ", produced, " output frames do not fit the output "
                                     "buffer of ", outputCapacity, " frames."));
    }
    process(in, outputs, framesPerBuffer);
}

void Fir::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                  size_t framesPerBuffer) {
    process(in[0], out[0], framesPerBuffer);
}

void Fir::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    checkBlock(framesPerBuffer);
    const scalar* window = takeBlock(in, framesPerBuffer);
    size_t i = 0;
    for (; i + 4 <= framesPerBuffer; i += 4) {
        fir::dot4(taps.data(), 0, window + i, 1, groups, out + i);
    }
    for (; i < framesPerBuffer; ++i) {
        out[i] = fir::dot(taps.data(), groups, window + i);
    }
    advance(framesPerBuffer);
}

Filter::IterationResults& Fir::iteration(const IterationResults& in, size_t, int32) {
    checkBlock(1);
    history[static_cast<size_t>(kept)] = (*in)[0];
    (*iterationResult)[0] = fir::dot(taps.data(), groups, history.get());
    return iterationResult;
}

size_t Fir::endIteration(size_t frame) {
    buffer[frame] = (*iterationResult)[0];
    advance(1);
    return frame;
}

void Fir::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("Fir: Invalid maxBlockSize", size));
    }
    try {
        if (size > maxBlockSize) {
            history = std::make_unique<scalar[]>(static_cast<size_t>(size) + maxTaps);
            maxBlockSize = size;
        }
        const size_t produced = outputFramesFor(static_cast<size_t>(size));
        if (produced > outputCapacity) {
            buffer = std::make_unique<scalar[]>(produced);
            outputs[0] = buffer.get();
            outputCapacity = produced;
        }
    } catch (const std::bad_alloc&) {
        throw NodaraException("Failed to allocate memory for FIR buffer");
    }
}

void Fir::reset() {
    if (history) {
        std::fill_n(history.get(), static_cast<size_t>(maxBlockSize) + maxTaps, 0.0f);
    }
}

void Fir::checkBlock(size_t frames) const {
    if (!history) {
        throw NodaraException("Failed to allocate memory for FIR buffer");
    }
    if (frames > static_cast<size_t>(maxBlockSize)) {
        throw NodaraException(concat("Fir: framesPerBuffer (", frames,
                                     ") is greater than maxBlockSize (", maxBlockSize, ")."));
    }
}

const scalar* Fir::takeBlock(const scalar* in, size_t frames) {
    std::memmove(history.get() + kept, in, frames * sizeof(scalar));
    return history.get();
}

void Fir::advance(size_t frames) {
    std::memmove(history.get(), history.get() + frames, static_cast<size_t>(kept) * sizeof(scalar));
}

void Fir::keepFrames(int32 frames) {
    if (history && frames > kept) {
        const auto added = static_cast<size_t>(frames - kept);
        std::memmove(history.get() + added, history.get(),
                     static_cast<size_t>(kept) * sizeof(scalar));
        std::fill_n(history.get(), added, 0.0f);
    } else if (history && frames < kept) {
        std::memmove(history.get(), history.get() + (kept - frames),
                     static_cast<size_t>(frames) * sizeof(scalar));
    }
    kept = frames;
}

} // namespace nodara
