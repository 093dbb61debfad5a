#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/BlockLoop.h"
#include "tools/torvane/Commands.h"

#include "amp/AmplifierDocument.h"
#include "amp/TorvaneFactory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <iostream>
#include <sstream>

namespace torvane::cli {

std::string readTextFile(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw FileError("cannot read document " + path + (std::filesystem::exists(path, error) ? ": not a regular file" : ": no such file"));
    }
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file && !file.eof()) {
        throw FileError("cannot read document " + path);
    }
    if (file.bad() || (text.empty() && !file.eof())) {
        throw FileError("cannot read document " + path);
    }
    return text;
}

std::shared_ptr<nodara::Driver> makeDriver(const std::string& document) {
    auto driver = std::make_shared<nodara::Driver>();
    auto factories = std::make_shared<std::vector<std::shared_ptr<nodara::PluginDSPElementFactory>>>();
    factories->push_back(std::make_shared<torvane::TorvaneFactory>());
    driver->setPluginElementFactories(factories);
    std::istringstream stream(document);
    driver->init(stream);
    return driver;
}

int checkCommand(Arguments& arguments) {
    const bool builtIn = arguments.takeFlag("--builtin");
    const std::string path = builtIn ? std::string() : arguments.takePositional("the document DOC.xml");
    arguments.expectNothingElse();
    auto driver = makeDriver(builtIn ? std::string(torvane::amplifierDocument) : readTextFile(path));
    const auto controls = driver->getControls();
    std::cout << "ok: " << driver->getGraphs()->size() << " graphs, "
              << driver->getNumberOfOutputs() << " outputs, " << (controls ? controls->size() : 0)
              << " controls\n";
    return 0;
}

namespace {

/// System input i reads file channel i; a mono file feeds every system input.
std::vector<nodara::scalar*> systemInputs(std::vector<std::vector<float>>& channels,
                                          size_t count) {
    std::vector<nodara::scalar*> inputs(count);
    for (size_t i = 0; i < count; ++i) {
        inputs[i] = channels[channels.size() == 1 ? 0 : i].data();
    }
    return inputs;
}

} // namespace

int runCommand(Arguments& arguments) {
    const auto input = arguments.takeOption("--in");
    const auto output = arguments.takeOption("--out");
    const auto rate = arguments.takeOption("--rate");
    const auto block = arguments.takeOption("--block");
    std::vector<ControlSetting> settings;
    for (const auto& text : arguments.takeAll("--set")) {
        settings.push_back(parseControlSetting(text));
    }
    const std::string path = arguments.takePositional("the document DOC.xml");
    arguments.expectNothingElse();
    if (!input || !output) {
        throw UsageError("both --in IN.wav and --out OUT.wav are needed");
    }
    const int blockSize = block ? parsePositiveInteger(*block, "--block") : 256;

    const std::string document = readTextFile(path);
    AudioReader reader(*input);
    auto driver = makeDriver(document);
    const auto inputCount = static_cast<size_t>(driver->getNumberOfSystemInputs());
    const size_t outputCount = driver->getNumberOfOutputs();
    if (outputCount == 0) {
        throw std::runtime_error("the document has no system outputs (/System/Outputs): "
                                 "nothing to write");
    }
    if (reader.channels() > 1 && static_cast<size_t>(reader.channels()) < inputCount) {
        throw std::runtime_error("the document reads " + std::to_string(inputCount) +
                                 " system inputs but " + *input + " has " +
                                 std::to_string(reader.channels()) + " channels");
    }
    const double systemRate = rate ? parseNumber(*rate, "--rate") : reader.sampleRate();
    if (systemRate <= 0.0) {
        throw UsageError("--rate must be above 0");
    }
    driver->setSampleRate(static_cast<float>(systemRate));
    driver->setMaxBlockSize(blockSize);

    BlockLoop loop(driver->getControls(), std::move(settings));
    loop.applyInitialSettings();
    AudioWriter writer(*output, static_cast<int>(outputCount), reader.sampleRate());
    loop.run(reader, writer, static_cast<size_t>(blockSize),
             [&](std::vector<std::vector<float>>& channels, size_t frames) {
                 driver->process(systemInputs(channels, inputCount), static_cast<int>(frames));
                 const auto& produced = *driver->getOutputs();
                 return std::vector<const float*>(produced.begin(), produced.end());
             });
    writer.commit();
    return 0;
}

} // namespace torvane::cli
