#include "dsp/convolution/WaveConvolver.h"

#include "dsp/io/AudioFileRead.h"
#include "dsp/io/ByteStream.h"
#include "dsp/io/DllResourceReader.h"
#include "dsp/io/FileReader.h"
#include "dsp/convolution/ResponseResampler.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <cmath>

namespace nodara {

namespace {

/// Tail samples at or below this magnitude count as silence.
constexpr scalar silence = 1.0e-15f;

WaveConvolver::Location parseLocation(const std::string& text) {
    if (text == "Memory") {
        return WaveConvolver::Memory;
    }
    if (text == "File") {
        return WaveConvolver::File;
    }
    if (text == "Dll") {
        return WaveConvolver::Dll;
    }
    throw InvalidArgumentException("WaveConvolver: Invalid Location property " + text);
}

struct Decoded {
    std::vector<scalar> samples;
    scalar rate;
};

/// Samples, over all channels, read from a file at a time.
constexpr size_t samplesPerRead = 65536;

/// The first channel of the WAV data held in `bytes`. Read a piece at a time, so that a
/// damaged header that claims more data than the file holds fails where the data end, having
/// allocated no more than the file's size. An empty data chunk fails in the reader.
Decoded decodeWav(const char* bytes, size_t size, const std::string& name) {
    stk::AudioFileRead file(openByteStream(bytes, size), name);
    const size_t total = file.fileSize();
    const size_t framesPerRead = std::max<size_t>(1, samplesPerRead / std::max(1u, file.channels()));
    Decoded decoded{{}, static_cast<scalar>(file.fileRate())};
    decoded.samples.reserve(std::min(total, size));
    stk::StkFrames frames;
    size_t start = 0;
    do {
        frames.resize(std::min(framesPerRead, total - start), file.channels());
        file.read(frames, start);
        for (size_t frame = 0; frame < frames.frames(); ++frame) {
            decoded.samples.push_back(frames(frame, 0));
        }
        start += frames.frames();
    } while (start < total);
    return decoded;
}

void trimSilentTail(std::vector<scalar>& samples) {
    while (!samples.empty() && std::fabs(samples.back()) <= silence) {
        samples.pop_back();
    }
}

/// How many samples are silence before the first sound: a pre-delay.
size_t silentHead(const std::vector<scalar>& samples) {
    size_t head = 0;
    while (head < samples.size() && std::fabs(samples[head]) <= silence) {
        ++head;
    }
    return head;
}

/// Samples at the response's own rate kept beyond the part in use, for the resampler's
/// filter to see past the cut.
constexpr double resamplerMargin = 1024.0;

/// Subtracts the mean, summed in order in single precision.
void removeMean(std::vector<scalar>& samples) {
    if (samples.empty()) {
        return;
    }
    scalar sum = 0.0f;
    for (scalar sample : samples) {
        sum += sample;
    }
    const scalar mean = sum / static_cast<scalar>(samples.size());
    if (mean != 0.0f) {
        for (scalar& sample : samples) {
            sample -= mean;
        }
    }
}

} // namespace

void WaveConvolver::addImpulseResponse(const std::string& responseName, scalar rate,
                                       const std::shared_ptr<std::vector<scalar>>& samples) {
    rates[responseName] = rate;
    responses[responseName] = samples;
}

void WaveConvolver::init(const std::string&, std::shared_ptr<DSPContext>&) {
    throw OperationNotSupportedException(
        "WaveConvolver: init(name, context) is not yet implemented.");
}

void WaveConvolver::init(const std::string& elementName, const Properties& elementProperties,
                         std::shared_ptr<DSPContext>& elementContext) {
    Filter::init(elementName, elementProperties, elementContext);
    std::string list;
    const NodaraException missingList(
        concat("WaveConvolver: ImpulseResponses is not defined. WaveConvolver name=", elementName));
    requireProperty(elementProperties, "ImpulseResponses", list, stringParser, missingList);
    splitProperty(list, listSeparator, names);
    std::string locationText;
    requireProperty(elementProperties, "Location", locationText, stringParser,
                    NodaraException("WaveConvolver: Missing Location property."));
    location = parseLocation(locationText);
    readProperty(elementProperties, "Selected", selected, intParser);
    readProperty(elementProperties, "Scale", scale, boolParser);
    readProperty(elementProperties, "Gain", gain, scalarParser);
    dllResourceType.clear();
    if (location == Dll) {
        requireProperty(elementProperties, "DllResourceType", dllResourceType, stringParser,
                        NodaraException("WaveConvolver: Missing DllResourceType property."));
    }
    convolver.init(elementName, elementProperties, elementContext);
    // The inner convolver takes the pre-delay as well; the document's limit is applied here.
    maxIRSize = convolver.getMaxIRSize();
    Properties inner = elementProperties;
    inner["MaxIRSize"] = std::to_string(limits::responseSamples);
    convolver.init(elementName, inner, elementContext);
}

void WaveConvolver::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Selected") {
        return;
    }
    const auto choice = static_cast<int32>(std::lround(value));
    if (choice > static_cast<int32>(names.size())) {
        throw NodaraException(concat("WaveConvolver: Invalid selection: ", choice,
                                     " max selection value ", names.size()));
    }
    selected = choice;
    // Before the first rate there is nothing to convert to; that rate loads the choice.
    if (sampleRate > 0.0f) {
        loadImpulseResponse();
    }
}

void WaveConvolver::propertyChanged(const std::string&,
                                    const std::shared_ptr<std::vector<scalar>>&) {}

void WaveConvolver::setSampleRate(scalar rate) {
    if (rate != sampleRate) {
        sampleRate = rate;
        loadImpulseResponse();
    }
}

void WaveConvolver::loadImpulseResponse() {
    std::vector<scalar> samples = fetchSamples();
    condition(samples);
    convolver.propertyChanged("ImpulseResponse",
                              std::make_shared<std::vector<scalar>>(std::move(samples)));
    // The old response's tail would otherwise ring on with the new one.
    convolver.reset();
}

// The selected response at the running rate. A selection equal to the count of names is a
// subscript failure (std::out_of_range).
std::vector<scalar> WaveConvolver::fetchSamples() {
    const std::string& responseName = names.at(static_cast<size_t>(selected));
    switch (location) {
    case Memory:
        return fetchFromMemory(responseName);
    case File:
        return fetchFromFile(responseName);
    case Dll:
        return fetchFromResource(responseName);
    }
    throw NodaraException(concat("WaveConvolver: Unknown Location type: ", location));
}

std::vector<scalar> WaveConvolver::fetchFromMemory(const std::string& responseName) {
    const scalar rate = rates[responseName];
    std::shared_ptr<std::vector<scalar>>& stored = responses[responseName];
    if (!stored) {
        stored = std::make_shared<std::vector<scalar>>();
    }
    return atRunningRate(*stored, rate);
}

std::vector<scalar> WaveConvolver::fetchFromFile(const std::string& fileName) {
    const FileReader file(fileName);
    Decoded decoded = decodeWav(file.data(), file.size(), fileName);
    return atRunningRate(std::move(decoded.samples), decoded.rate);
}

std::vector<scalar> WaveConvolver::fetchFromResource(const std::string& resourceName) {
    const DllResourceReader resource(resourceName, dllResourceType);
    Decoded decoded = decodeWav(resource.data(), resource.size(), resourceName);
    return atRunningRate(std::move(decoded.samples), decoded.rate);
}

// Only the part that the cut below keeps is converted (with a margin): a long file, or one
// whose rate is far below the running one, would otherwise cost seconds and gigabytes here.
std::vector<scalar> WaveConvolver::atRunningRate(std::vector<scalar> samples, scalar rate) const {
    // Nothing to convert: an unknown name leaves an empty response and no rate.
    if (rate == sampleRate || samples.empty()) {
        return samples;
    }
    const double ratio = static_cast<double>(sampleRate) / static_cast<double>(rate);
    const double kept = static_cast<double>(silentHead(samples)) +
                        static_cast<double>(maxIRSize) / ratio + resamplerMargin;
    if (kept < static_cast<double>(samples.size())) {
        samples.resize(static_cast<size_t>(kept));
    }
    limits::requireAtMost("WaveConvolver " + name, "length of the response at the running rate",
                          static_cast<double>(samples.size()) * ratio,
                          2.0 * limits::responseSamples);
    return resampleResponse(samples, rate, sampleRate);
}

// Trim, cut to MaxIRSize, mean removal after the cut, gain. MaxIRSize counts from the first
// sound: the silence before it is a delay, not response, and at a high rate it alone would
// outlast the limit and leave nothing to hear.
void WaveConvolver::condition(std::vector<scalar>& samples) const {
    trimSilentTail(samples);
    const size_t longest = silentHead(samples) + static_cast<size_t>(maxIRSize);
    if (samples.size() > longest) {
        samples.resize(longest);
    }
    if (scale) {
        removeMean(samples);
    }
    for (scalar& sample : samples) {
        sample *= gain;
    }
}

void WaveConvolver::process(const std::vector<scalar*>& in, size_t framesPerBuffer) {
    convolver.process(in, framesPerBuffer);
}

void WaveConvolver::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                            size_t framesPerBuffer) {
    convolver.process(in, out, framesPerBuffer);
}

Filter::IterationResults& WaveConvolver::iteration(const IterationResults&, size_t, int32) {
    throw OperationNotSupportedException("WaveConvolver: Iteration is not supported.");
}

Filter::IterationResults& WaveConvolver::getLastIterationResults() {
    throw OperationNotSupportedException(
        "WaveConvolver: getLastIterationResults is not supported.");
}

size_t WaveConvolver::endIteration(size_t) {
    throw OperationNotSupportedException("WaveConvolver: endIteration is not supported.");
}

void WaveConvolver::setMaxBlockSize(int32 size) { convolver.setMaxBlockSize(size); }

scalar* WaveConvolver::getOutput(int32 index) { return convolver.getOutput(index); }

std::vector<scalar*>& WaveConvolver::getOutputs() { return convolver.getOutputs(); }

void WaveConvolver::reset() { convolver.reset(); }

void WaveConvolver::settle(const std::vector<scalar*>& in, size_t frames) {
    convolver.settle(in, frames);
}

} // namespace nodara
