#include "tools/torvane/AudioFiles.h"

#include "tools/torvane/CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace torvane::cli {

AudioReader::AudioReader(const std::string& path) : path(path) {
    file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
        throw FileError("cannot read audio file " + path + ": " + sf_strerror(nullptr));
    }
    if (info.channels < 1 || info.samplerate < 1) {
        sf_close(file);
        throw FileError("audio file " + path + " has no channels or no sample rate");
    }
}

AudioReader::~AudioReader() { sf_close(file); }

// Frames are read ahead in chunks, for the same reason as they are written in chunks: a read
// per block of a few hundred frames costs a system call each.
size_t AudioReader::read(std::vector<std::vector<float>>& channelBuffers, size_t frames) {
    const auto channelCount = static_cast<size_t>(info.channels);
    channelBuffers.resize(channelCount);
    for (std::vector<float>& buffer : channelBuffers) {
        buffer.resize(frames);
    }
    size_t count = 0;
    while (count < frames && (nextFrame < heldFrames || refill())) {
        const size_t taken = std::min(frames - count, heldFrames - nextFrame);
        for (size_t c = 0; c < channelCount; ++c) {
            for (size_t i = 0; i < taken; ++i) {
                channelBuffers[c][count + i] = interleaved[(nextFrame + i) * channelCount + c];
            }
        }
        count += taken;
        nextFrame += taken;
    }
    return count;
}

bool AudioReader::refill() {
    interleaved.resize(chunkFrames * static_cast<size_t>(info.channels));
    const sf_count_t got =
        sf_readf_float(file, interleaved.data(), static_cast<sf_count_t>(chunkFrames));
    if (got < 0) {
        throw FileError("error while reading " + path + ": " + sf_strerror(file));
    }
    heldFrames = static_cast<size_t>(got);
    nextFrame = 0;
    return heldFrames > 0;
}

AudioWriter::AudioWriter(const std::string& path, int channels, int sampleRate)
    : path(path), temporaryPath(path + ".partial"), channelCount(channels) {
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    file = sf_open(temporaryPath.c_str(), SFM_WRITE, &info);
    if (file == nullptr) {
        throw FileError("cannot write audio file " + path + ": " + sf_strerror(nullptr));
    }
}

AudioWriter::~AudioWriter() {
    if (file != nullptr) {
        sf_close(file);
    }
    if (!committed) {
        ::unlink(temporaryPath.c_str());
    }
}

// Frames gather into chunks: a write per block of one frame would cost a system call per
// frame, more than the effect itself.
void AudioWriter::write(const std::vector<const float*>& channelData, size_t frames) {
    const auto channels = static_cast<size_t>(channelCount);
    const size_t start = interleaved.size();
    interleaved.resize(start + frames * channels);
    for (size_t c = 0; c < channels; ++c) {
        for (size_t i = 0; i < frames; ++i) {
            interleaved[start + i * channels + c] = channelData[c][i];
        }
    }
    if (interleaved.size() >= chunkFrames * channels) {
        flush();
    }
}

void AudioWriter::flush() {
    const auto frames = static_cast<sf_count_t>(interleaved.size()) / channelCount;
    if (sf_writef_float(file, interleaved.data(), frames) != frames) {
        throw FileError("error while writing " + path + ": " + sf_strerror(file));
    }
    interleaved.clear();
}

void AudioWriter::commit() {
    flush();
    const int closed = sf_close(file);
    file = nullptr;
    if (closed != 0 || std::rename(temporaryPath.c_str(), path.c_str()) != 0) {
        throw FileError("cannot write audio file " + path);
    }
    committed = true;
}

} // namespace torvane::cli
