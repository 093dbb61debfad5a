#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/BlockLoop.h"
#include "tools/torvane/commands/Commands.h"

#include "amp/Amplifier.h"
#include "amp/AmplifierDocument.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <iostream>

namespace torvane::cli {

std::string readTextFile(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw FileError("cannot read document " + path + (std::filesystem::exists(path, error) ? ": not a regular file" : ": no such file"));
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw FileError("cannot read document " + path);
    }
    // An empty file is read as it stands: the parser reports it as a document fault.
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) {
        throw FileError("cannot read document " + path);
    }
    return text;
}

int checkCommand(Arguments& arguments) {
    const bool builtIn = arguments.takeFlag("--builtin");
    const std::string path = builtIn ? std::string() : arguments.takePositional("the document DOC.xml");
    arguments.expectNothingElse();
    auto driver = torvane::makeProductDriver(builtIn ? std::string(torvane::amplifierDocument) : readTextFile(path));
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
    const FileRunOptions options = takeFileRunOptions(arguments);
    const std::string path = arguments.takePositional("the document DOC.xml");
    arguments.expectNothingElse();
    const std::string document = readTextFile(path);
    AudioReader reader(options.input);
    auto driver = torvane::makeProductDriver(document);
    const auto inputCount = static_cast<size_t>(driver->getNumberOfSystemInputs());
    const size_t outputCount = driver->getNumberOfOutputs();
    if (outputCount == 0) {
        throw std::runtime_error("the document has no system outputs (/System/Outputs): "
                                 "nothing to write");
    }
    if (reader.channels() > 1 && static_cast<size_t>(reader.channels()) < inputCount) {
        throw std::runtime_error("the document reads " + std::to_string(inputCount) +
                                 " system inputs but " + options.input + " has " +
                                 std::to_string(reader.channels()) + " channels");
    }
    runFile(*driver, reader, options, static_cast<int>(outputCount),
            [&](std::vector<std::vector<float>>& channels, size_t frames) {
                driver->process(systemInputs(channels, inputCount), static_cast<int>(frames));
                const auto& produced = *driver->getOutputs();
                return std::vector<const float*>(produced.begin(), produced.end());
            });
    return 0;
}

} // namespace torvane::cli
