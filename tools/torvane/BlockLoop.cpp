#include "tools/torvane/BlockLoop.h"

#include <stdexcept>

namespace torvane::cli {

BlockLoop::BlockLoop(const nodara::Driver::ControlList& controls,
                     std::vector<ControlSetting> settings)
    : controls(controls), settings(std::move(settings)), applied(this->settings.size(), false) {
    for (const auto& setting : this->settings) {
        controlNamed(setting.name);
    }
}

nodara::Control& BlockLoop::controlNamed(const std::string& name) const {
    std::string known;
    if (controls) {
        for (const auto& control : *controls) {
            if (control->getName() == name) {
                return *control;
            }
            known += (known.empty() ? "" : ", ") + control->getName();
        }
    }
    throw std::runtime_error("unknown control \"" + name + "\"; the document's controls are: " +
                             (known.empty() ? "none" : known));
}

void BlockLoop::applyInitialSettings() {
    for (size_t i = 0; i < settings.size(); ++i) {
        if (!settings[i].seconds) {
            controlNamed(settings[i].name).setValue(settings[i].value);
            applied[i] = true;
        }
    }
}

void BlockLoop::applyDueSettings(double blockStartSeconds) {
    for (size_t i = 0; i < settings.size(); ++i) {
        if (!applied[i] && *settings[i].seconds <= blockStartSeconds) {
            controlNamed(settings[i].name).setValue(settings[i].value);
            applied[i] = true;
        }
    }
}

void BlockLoop::run(AudioReader& reader, AudioWriter& writer, size_t blockSize,
                    const BlockProcessor& process) {
    std::vector<std::vector<float>> channels;
    long long position = 0;
    for (;;) {
        const size_t frames = reader.read(channels, blockSize);
        if (frames == 0) {
            break;
        }
        applyDueSettings(static_cast<double>(position) / reader.sampleRate());
        writer.write(process(channels, frames), frames);
        position += static_cast<long long>(frames);
    }
}

void runFile(nodara::Driver& driver, AudioReader& reader, const FileRunOptions& options,
             int outputChannels, const BlockProcessor& process) {
    driver.setSampleRate(static_cast<float>(options.rateFor(reader.sampleRate())));
    driver.setMaxBlockSize(options.blockSize);
    BlockLoop loop(driver.getControls(), options.settings);
    loop.applyInitialSettings();
    driver.settle();
    AudioWriter writer(options.output, outputChannels, reader.sampleRate());
    loop.run(reader, writer, static_cast<size_t>(options.blockSize), process);
    writer.commit();
}

} // namespace torvane::cli
