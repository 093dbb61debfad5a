#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

namespace torvane::cli {

/// An audio file read block by block as 32-bit floats, in any format libsndfile reads.
class AudioReader {
public:
    explicit AudioReader(const std::string& path);
    ~AudioReader();
    AudioReader(const AudioReader&) = delete;
    AudioReader& operator=(const AudioReader&) = delete;

    int channels() const { return info.channels; }
    int sampleRate() const { return info.samplerate; }
    long long frames() const { return static_cast<long long>(info.frames); }
    /// Reads up to `frames` frames into one buffer per channel; returns the frames read.
    size_t read(std::vector<std::vector<float>>& channelBuffers, size_t frames);

private:
    /// Reads the next chunk into `interleaved`; false at the end of the file.
    bool refill();

    static constexpr size_t chunkFrames = 8192;
    std::string path;
    SF_INFO info{};
    SNDFILE* file = nullptr;
    /// Frames read ahead, and the first of them not handed out yet.
    std::vector<float> interleaved;
    size_t heldFrames = 0;
    size_t nextFrame = 0;
};

/// A 32-bit float WAV written to a temporary file beside the target and moved into place by
/// `commit`; dropped without commit, nothing is left behind.
class AudioWriter {
public:
    AudioWriter(const std::string& path, int channels, int sampleRate);
    ~AudioWriter();
    AudioWriter(const AudioWriter&) = delete;
    AudioWriter& operator=(const AudioWriter&) = delete;

    /// Writes `frames` frames from one pointer per channel.
    void write(const std::vector<const float*>& channelData, size_t frames);
    /// Writes what is still held and moves the file into place.
    void commit();

private:
    void flush();

    static constexpr size_t chunkFrames = 8192;
    std::string path;
    std::string temporaryPath;
    int channelCount;
    SNDFILE* file = nullptr;
    std::vector<float> interleaved;
    bool committed = false;
};

} // namespace torvane::cli
