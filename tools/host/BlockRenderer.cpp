#include "tools/host/BlockRenderer.h"

#include <algorithm>
#include <stdexcept>

namespace torvane::host {

BlockRenderer::BlockRenderer(PluginHost& plugin, RenderSetup renderSetup)
    : plugin(plugin), setup(std::move(renderSetup)), applied(setup.changes.size(), false) {
    if (setup.channels != 1 && setup.channels != 2) {
        throw std::invalid_argument("BlockRenderer: audio of 1 or 2 channels, not " +
                                    std::to_string(setup.channels));
    }
    const auto frames = static_cast<size_t>(setup.blockFrames);
    // Two of each at least: an effect may touch a second channel whatever it announces.
    const int inputs = std::max(plugin.identity().inputs, 2);
    const int outputs = std::max(plugin.identity().outputs, 2);
    // The last input buffer stays silent: it feeds effect inputs beyond the file's channels.
    inputBuffers.assign(static_cast<size_t>(setup.channels) + 1, std::vector<float>(frames));
    outputBuffers.assign(static_cast<size_t>(outputs), std::vector<float>(frames));
    for (int i = 0; i < inputs; ++i) {
        const int source = setup.channels == 1 ? 0 : std::min(i, setup.channels);
        inputPointers.push_back(inputBuffers[static_cast<size_t>(source)].data());
    }
    for (auto& buffer : outputBuffers) {
        outputPointers.push_back(buffer.data());
    }

    plugin.prepare(setup.pluginRate, setup.blockFrames,
                   setup.channels == 1 ? ChannelLayout::mono : ChannelLayout::stereo);
    for (size_t i = 0; i < setup.changes.size(); ++i) {
        if (!setup.changes[i].seconds) {
            plugin.setParameter(setup.changes[i].index, setup.changes[i].value);
            applied[i] = true;
        }
    }
    plugin.resume();
}

BlockRenderer::~BlockRenderer() {
    try {
        plugin.suspend();
    } catch (...) {
        // The host closes the effect next, which is all that is left to do.
    }
}

void BlockRenderer::applyDueChanges() {
    const double blockStart = static_cast<double>(framesDone) / setup.audioRate;
    for (size_t i = 0; i < setup.changes.size(); ++i) {
        if (!applied[i] && *setup.changes[i].seconds <= blockStart) {
            plugin.setParameter(setup.changes[i].index, setup.changes[i].value);
            applied[i] = true;
        }
    }
}

void BlockRenderer::clearBuffers() {
    std::fill(inputBuffers.back().begin(), inputBuffers.back().end(), 0.0f);
    for (auto& buffer : outputBuffers) {
        std::fill(buffer.begin(), buffer.end(), 0.0f);
    }
}

std::vector<const float*> BlockRenderer::process(const std::vector<const float*>& channels,
                                                 int frames) {
    if (channels.size() != static_cast<size_t>(setup.channels)) {
        throw std::invalid_argument("BlockRenderer: " + std::to_string(channels.size()) +
                                    " channels given to a render of " +
                                    std::to_string(setup.channels));
    }
    if (frames < 1 || frames > setup.blockFrames) {
        throw std::invalid_argument("BlockRenderer: a block of " + std::to_string(frames) +
                                    " frames, outside 1 to " + std::to_string(setup.blockFrames));
    }
    applyDueChanges();
    clearBuffers();
    for (size_t c = 0; c < channels.size(); ++c) {
        std::copy_n(channels[c], frames, inputBuffers[c].begin());
    }
    plugin.process(inputPointers.data(), outputPointers.data(), frames);
    framesDone += frames;
    std::vector<const float*> result;
    // An effect with one output gives it to both channels.
    const auto lastOutput = static_cast<size_t>(plugin.identity().outputs - 1);
    for (size_t c = 0; c < channels.size(); ++c) {
        result.push_back(outputPointers[std::min(c, lastOutput)]);
    }
    return result;
}

} // namespace torvane::host
