#pragma once

#include "tools/host/PluginHost.h"

#include <optional>
#include <vector>

namespace torvane::host {

/// A parameter value to give the effect: before it starts, or during the render.
struct ParameterChange {
    int index = 0;
    float value = 0.0f;
    /// None: set before effMainsChanged 1. Otherwise set before the first block that starts at
    /// or after this time, counted in seconds of the audio.
    std::optional<double> seconds;
};

struct RenderSetup {
    int channels = 1;             ///< 1: mono arrangement; 2: stereo
    double audioRate = 48000.0;   ///< Hz of the audio; times of changes count in it
    double pluginRate = 48000.0;  ///< Hz told to the effect, which may differ: nothing is resampled
    int blockFrames = 256;        ///< the largest block, announced to the effect
    std::vector<ParameterChange> changes;
};

/// Runs mono or stereo audio through an open effect block by block. A mono signal reaches every
/// input of the effect from one buffer, and output 0 is its result; a stereo signal feeds
/// inputs 0 and 1 and is read from outputs 0 and 1. The effect's own input and output buffers
/// are the renderer's, so an effect that writes where it should only read harms nothing.
class BlockRenderer {
public:
    /// Prepares the effect, sets the untimed parameters and resumes it.
    BlockRenderer(PluginHost& plugin, RenderSetup setup);
    /// Suspends the effect.
    ~BlockRenderer();
    BlockRenderer(const BlockRenderer&) = delete;
    BlockRenderer& operator=(const BlockRenderer&) = delete;

    /// Processes 1 to blockFrames frames given as one pointer per channel; returns one pointer
    /// per channel to the result, valid until the next call.
    std::vector<const float*> process(const std::vector<const float*>& channels, int frames);
    /// Frames processed so far.
    long long position() const { return framesDone; }

private:
    void applyDueChanges();
    void clearBuffers();

    PluginHost& plugin;
    RenderSetup setup;
    std::vector<bool> applied;
    std::vector<std::vector<float>> inputBuffers;   ///< one per file channel, plus silence
    std::vector<std::vector<float>> outputBuffers;  ///< one per effect output, two at least
    std::vector<float*> inputPointers;
    std::vector<float*> outputPointers;
    long long framesDone = 0;
};

} // namespace torvane::host
