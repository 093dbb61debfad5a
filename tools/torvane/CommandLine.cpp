#include "tools/torvane/CommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace torvane::cli {

bool Arguments::wantsHelp() const {
    return std::any_of(words.begin(), words.end(),
                       [](const std::string& word) { return word == "--help" || word == "-h"; });
}

std::optional<std::string> Arguments::takeOption(const std::string& flag) {
    auto found = std::find(words.begin(), words.end(), flag);
    if (found == words.end()) {
        return std::nullopt;
    }
    if (found + 1 == words.end()) {
        throw UsageError(flag + " needs a value");
    }
    std::string value = *(found + 1);
    words.erase(found, found + 2);
    return value;
}

std::vector<std::string> Arguments::takeAll(const std::string& flag) {
    std::vector<std::string> values;
    while (auto value = takeOption(flag)) {
        values.push_back(*value);
    }
    return values;
}

bool Arguments::takeFlag(const std::string& flag) {
    auto found = std::find(words.begin(), words.end(), flag);
    if (found == words.end()) {
        return false;
    }
    words.erase(found);
    return true;
}

std::string Arguments::takePositional(const std::string& what) {
    auto found = std::find_if(words.begin(), words.end(), [](const std::string& word) {
        return word.empty() || word[0] != '-' || word == "-";
    });
    if (found == words.end()) {
        throw UsageError("missing " + what);
    }
    std::string value = *found;
    words.erase(found);
    return value;
}

void Arguments::expectNothingElse() const {
    if (!words.empty()) {
        throw UsageError("unexpected argument: " + words.front());
    }
}

double parseNumber(const std::string& text, const std::string& what) {
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value)) {
        throw UsageError(what + " must be a number, not \"" + text + "\"");
    }
    return value;
}

int parsePositiveInteger(const std::string& text, const std::string& what) {
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < 1 || value > 1 << 24) {
        throw UsageError(what + " must be a whole number from 1 to 16777216, not \"" + text +
                         "\"");
    }
    return static_cast<int>(value);
}

FileRunOptions takeFileRunOptions(Arguments& arguments) {
    const auto input = arguments.takeOption("--in");
    const auto output = arguments.takeOption("--out");
    const auto rate = arguments.takeOption("--rate");
    const auto block = arguments.takeOption("--block");
    FileRunOptions options;
    for (const auto& text : arguments.takeAll("--set")) {
        options.settings.push_back(parseControlSetting(text));
    }
    if (!input || !output) {
        throw UsageError("both --in IN.wav and --out OUT.wav are needed");
    }
    options.input = *input;
    options.output = *output;
    if (rate) {
        options.rate = parseNumber(*rate, "--rate");
        if (*options.rate <= 0.0) {
            throw UsageError("--rate must be above 0");
        }
    }
    if (block) {
        options.blockSize = parsePositiveInteger(*block, "--block");
    }
    return options;
}

ControlSetting parseControlSetting(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError("--set expects NAME=VALUE or NAME=VALUE@SECONDS, not \"" + text + "\"");
    }
    ControlSetting setting;
    setting.name = text.substr(0, equals);
    std::string value = text.substr(equals + 1);
    const auto at = value.find('@');
    if (at != std::string::npos) {
        const double seconds = parseNumber(value.substr(at + 1), "the time in --set " + text);
        if (seconds < 0.0) {
            throw UsageError("the time in --set " + text + " must not be negative");
        }
        setting.seconds = seconds;
        value = value.substr(0, at);
    }
    setting.value = static_cast<float>(parseNumber(value, "the value in --set " + text));
    return setting;
}

} // namespace torvane::cli
