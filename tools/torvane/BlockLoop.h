#pragma once

#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/CommandLine.h"

#include "runtime/Driver.h"

#include <functional>
#include <memory>
#include <vector>

namespace torvane::cli {

/// Processes one block of file channels into output channel pointers.
using BlockProcessor = std::function<std::vector<const float*>(
    std::vector<std::vector<float>>& channels, size_t frames)>;

/// Reads `reader` in blocks of at most `blockSize` frames, applies the control settings that
/// fall due at each block's start, processes, and writes the result to `writer`.
class BlockLoop {
public:
    BlockLoop(const nodara::Driver::ControlList& controls, std::vector<ControlSetting> settings);

    /// Writes the settings without a time, before the first block.
    void applyInitialSettings();
    void run(AudioReader& reader, AudioWriter& writer, size_t blockSize,
             const BlockProcessor& process);

private:
    void applyDueSettings(double blockStartSeconds);
    nodara::Control& controlNamed(const std::string& name) const;

    nodara::Driver::ControlList controls;
    std::vector<ControlSetting> settings;
    std::vector<bool> applied;
};

/// Runs `reader` through `driver` into `options.output` with `outputChannels` channels: tells
/// the driver its rate and block size, applies the settings, settles the system as a host
/// start does, and commits the file at the end.
void runFile(nodara::Driver& driver, AudioReader& reader, const FileRunOptions& options,
             int outputChannels, const BlockProcessor& process);

} // namespace torvane::cli
