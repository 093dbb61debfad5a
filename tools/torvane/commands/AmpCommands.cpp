#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/BlockLoop.h"
#include "tools/torvane/commands/Commands.h"

#include "amp/Amplifier.h"
#include "amp/EmbeddedData.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

namespace torvane::cli {

namespace {

nodara::Control* controlNamed(const nodara::Driver& driver, const std::string& name) {
    for (const auto& control : *driver.getControls()) {
        if (control->getName() == name) {
            return control.get();
        }
    }
    return nullptr;
}

/// The plug-in's channel rules: a mono file is a mono bus, so both chains read it and only
/// the first is heard; a stereo file feeds both chains, and while Stereo is below 0.5 the second
/// output channel is a copy of the first.
class AmplifierChannels {
public:
    AmplifierChannels(nodara::Driver& driver, int fileChannels)
        : driver(driver), stereo(controlNamed(driver, "Stereo")), monoBus(fileChannels == 1) {}

    std::vector<const float*> process(std::vector<std::vector<float>>& channels, size_t frames) {
        const bool monoMode = stereo == nullptr || stereo->getValue() < 0.5f;
        inputs[0] = channels[0].data();
        inputs[1] = monoBus || monoMode ? channels[0].data() : channels[1].data();
        driver.process(inputs, static_cast<nodara::int32>(frames));
        const auto& produced = *driver.getOutputs();
        if (monoBus) {
            return {produced[0]};
        }
        return {produced[0], monoMode ? produced[0] : produced[1]};
    }

private:
    nodara::Driver& driver;
    nodara::Control* stereo;
    bool monoBus;
    std::vector<nodara::scalar*> inputs{nullptr, nullptr};
};

void requireAmplifierRate(double rate) {
    if (const std::string problem = amplifierRateProblem(rate); !problem.empty()) {
        throw std::runtime_error(problem);
    }
}

} // namespace

int ampCommand(Arguments& arguments) {
    const FileRunOptions options = takeFileRunOptions(arguments);
    arguments.expectNothingElse();
    AudioReader reader(options.input);
    if (reader.channels() > 2) {
        throw UsageError(options.input + " has " + std::to_string(reader.channels()) +
                         " channels; the amplifier takes a mono or a stereo file");
    }
    requireAmplifierRate(options.rateFor(reader.sampleRate()));
    auto driver = torvane::makeAmplifier();
    AmplifierChannels channels(*driver, reader.channels());
    runFile(*driver, reader, options, reader.channels(),
            [&](std::vector<std::vector<float>>& data, size_t frames) {
                return channels.process(data, frames);
            });
    return 0;
}

int tablesCommand(Arguments& arguments) {
    const bool csv = arguments.takeFlag("--csv");
    if (arguments.empty()) {
        if (csv) {
            throw UsageError("--csv needs a table name");
        }
        std::printf("%-20s %10s %10s %8s %7s\n", "name", "from", "to", "step", "count");
        for (const auto& table : embeddedTables()) {
            std::printf("%-20s %10g %10g %8g %7zu\n", std::string(table.name).c_str(), table.first,
                        table.last, table.step, table.values.size());
        }
        return 0;
    }
    const std::string name = arguments.takePositional("a table name");
    arguments.expectNothingElse();
    if (!csv) {
        throw UsageError("print a table with: torvane tables " + name + " --csv");
    }
    const EmbeddedTable& table = embeddedTable(name);
    for (size_t i = 0; i < table.values.size(); ++i) {
        // x from the index and the decimal step, so rows land on the grid without drift.
        const double x = table.first + static_cast<double>(i) * table.step;
        std::printf("%.6g,%.9g\n", x, static_cast<double>(table.values[i]));
    }
    return 0;
}

} // namespace torvane::cli
