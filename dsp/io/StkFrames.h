#pragma once

#include <cstddef>
#include <vector>

namespace stk {

/// The base of the audio-file classes.
class Stk {
public:
    /// The sample type of frames read from files.
    using StkFloat = float;

    virtual ~Stk() = default;
};

/// Frames of interleaved samples: channel c of frame f is at index f·channels() + c.
class StkFrames {
public:
    /// `frames` frames of `channels` zeros. Allocates.
    explicit StkFrames(std::size_t frames = 0, unsigned int channels = 1)
        : samples(frames * channels), frameCount(frames), channelCount(channels) {}

    /// Zeros in the new shape. Allocates.
    void resize(std::size_t frames, unsigned int channels) {
        samples.assign(frames * channels, 0.0f);
        frameCount = frames;
        channelCount = channels;
    }

    Stk::StkFloat& operator()(std::size_t frame, unsigned int channel) {
        return samples[frame * channelCount + channel];
    }
    Stk::StkFloat operator()(std::size_t frame, unsigned int channel) const {
        return samples[frame * channelCount + channel];
    }
    Stk::StkFloat* data() { return samples.data(); }
    const Stk::StkFloat* data() const { return samples.data(); }

    std::size_t frames() const { return frameCount; }
    unsigned int channels() const { return channelCount; }
    /// Samples over all channels.
    std::size_t size() const { return samples.size(); }

private:
    std::vector<Stk::StkFloat> samples;
    std::size_t frameCount;
    unsigned int channelCount;
};

} // namespace stk
