#pragma once

#include <sndfile.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace nodara::testing {

/// What a run of the `torvane` tool printed and returned.
struct ToolResult {
    int exitCode = -1;
    std::string out;
    std::string err;

    std::string firstErrorLine() const { return err.substr(0, err.find('\n')); }
};

/// The build folder, where `torvane` and the generators are.
inline std::string buildDirectory() {
    const char* directory = std::getenv("TORVANE_BINARY_DIR");
    return directory ? directory : TORVANE_BINARY_DIR;
}

/// The source folder, where the examples and the committed data are.
inline std::string sourceDirectory() {
    const char* directory = std::getenv("TORVANE_SOURCE_DIR");
    return directory ? directory : TORVANE_SOURCE_DIR;
}

/// A scratch folder of its own for each test program run.
inline std::filesystem::path scratch() {
    static const std::filesystem::path folder = [] {
        auto path = std::filesystem::temp_directory_path() /
                    ("torvane-tests-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
        return path;
    }();
    return folder;
}

inline std::vector<char> bytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Runs the generator `name` into a scratch folder of its own; returns the folder, or an empty
/// path when the generator fails.
inline std::filesystem::path generated(const std::string& name) {
    const auto folder = scratch() / name;
    const std::string command = buildDirectory() + "/generators/" + name + " " + folder.string() +
                                " >/dev/null";
    return std::system(command.c_str()) == 0 ? folder : std::filesystem::path();
}

inline std::string readAll(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Runs `build/torvane ARGUMENTS` through the shell; arguments are passed as written.
inline ToolResult torvane(const std::string& arguments) {
    const auto out = scratch() / "stdout.txt";
    const auto err = scratch() / "stderr.txt";
    const std::string command = buildDirectory() + "/torvane " + arguments + " >" + out.string() +
                                " 2>" + err.string();
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(out), readAll(err)};
}

/// `torvane COMMAND --in IN --out OUT` with more arguments.
inline ToolResult inOut(const std::string& command, const std::filesystem::path& in,
                        const std::filesystem::path& out, const std::string& more = "") {
    return torvane(command + " --in " + in.string() + " --out " + out.string() + more);
}

/// Interleaved float frames and their format.
struct Audio {
    int channels = 1;
    int rate = 48000;
    std::vector<float> samples;

    size_t frames() const { return samples.size() / static_cast<size_t>(channels); }
    float at(size_t frame, int channel) const {
        return samples[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
    }
};

/// A sine in each channel, a different pitch in each.
inline Audio tone(int channels, size_t frames, int rate = 48000) {
    Audio audio{channels, rate, {}};
    for (size_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            audio.samples.push_back(0.4f * std::sin(0.01f * static_cast<float>(i) * float(c + 1)));
        }
    }
    return audio;
}

inline void writeWav(const std::filesystem::path& path, const Audio& audio,
                     int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT) {
    SF_INFO info{};
    info.channels = audio.channels;
    info.samplerate = audio.rate;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_writef_float(file, audio.samples.data(), static_cast<sf_count_t>(audio.frames()));
    sf_close(file);
}

/// The committed example document `name`.
inline std::string example(const std::string& name) {
    return sourceDirectory() + "/examples/" + name;
}

/// `text` written to `name` in the scratch folder.
inline std::filesystem::path writtenText(const std::string& name, const std::string& text) {
    const auto path = scratch() / name;
    std::ofstream(path) << text;
    return path;
}

/// `audio` written to `name` in the scratch folder.
inline std::filesystem::path written(const std::string& name, const Audio& audio) {
    const auto path = scratch() / name;
    writeWav(path, audio);
    return path;
}

inline Audio readWav(const std::filesystem::path& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    Audio audio;
    if (file == nullptr) {
        audio.channels = 0;
        return audio;
    }
    audio.channels = info.channels;
    audio.rate = info.samplerate;
    audio.samples.resize(static_cast<size_t>(info.frames * info.channels));
    sf_readf_float(file, audio.samples.data(), info.frames);
    sf_close(file);
    return audio;
}

} // namespace nodara::testing
