#include "tools/torvane/AudioFiles.h"
#include "tools/torvane/commands/Commands.h"
#include "tools/torvane/ProgressBar.h"

#include "tools/demo/GuitarRiff.h"
#include "tools/host/BlockRenderer.h"
#include "tools/host/ParameterLookup.h"
#include "tools/host/PluginHost.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace torvane::cli {

namespace {

constexpr double demoRate = 48000.0;
constexpr double lowestDemoRate = 8000.0;
constexpr double highestDemoRate = 384000.0;

/// The audio to render, read block by block: a file, or the demo riff.
class RenderSource {
public:
    virtual ~RenderSource() = default;
    virtual int channels() const = 0;
    virtual double sampleRate() const = 0;
    virtual long long frames() const = 0;
    /// Up to `count` frames into one buffer per channel; the frames read, 0 at the end.
    virtual size_t read(std::vector<std::vector<float>>& buffers, size_t count) = 0;
    virtual std::string name() const = 0;
};

class FileSource : public RenderSource {
public:
    explicit FileSource(const std::string& path) : path(path), reader(path) {}
    int channels() const override { return reader.channels(); }
    double sampleRate() const override { return reader.sampleRate(); }
    long long frames() const override { return reader.frames(); }
    size_t read(std::vector<std::vector<float>>& buffers, size_t count) override {
        return reader.read(buffers, count);
    }
    std::string name() const override { return path; }

private:
    std::string path;
    AudioReader reader;
};

class DemoSource : public RenderSource {
public:
    explicit DemoSource(double rate) : rate(rate), riff(demo::guitarRiff(rate)) {}
    int channels() const override { return 1; }
    double sampleRate() const override { return rate; }
    long long frames() const override { return static_cast<long long>(riff.size()); }
    size_t read(std::vector<std::vector<float>>& buffers, size_t count) override {
        const size_t taken = std::min(count, riff.size() - position);
        buffers.resize(1);
        buffers[0].assign(riff.begin() + static_cast<std::ptrdiff_t>(position),
                          riff.begin() + static_cast<std::ptrdiff_t>(position + taken));
        position += taken;
        return taken;
    }
    std::string name() const override { return "the demo riff"; }

private:
    double rate;
    std::vector<float> riff;
    size_t position = 0;
};

struct RenderOptions {
    std::optional<std::string> input;
    std::string output;
    std::string plugin;
    std::optional<double> rate;
    int blockFrames = 256;
    std::vector<ControlSetting> settings;
};

RenderOptions parseOptions(Arguments& arguments) {
    RenderOptions options;
    options.input = arguments.takeOption("--in");
    const auto output = arguments.takeOption("--out");
    const auto plugin = arguments.takeOption("--plugin");
    const auto rate = arguments.takeOption("--rate");
    const auto block = arguments.takeOption("--block");
    for (const auto& text : arguments.takeAll("--set")) {
        options.settings.push_back(parseControlSetting(text));
        const float value = options.settings.back().value;
        if (value < 0.0f || value > 1.0f) {
            throw UsageError("parameter values go from 0 to 1: --set " + text);
        }
    }
    arguments.expectNothingElse();
    if (!output) {
        throw UsageError("--out OUT.wav is needed");
    }
    options.output = *output;
    options.plugin = plugin ? *plugin : defaultPluginPath();
    if (rate) {
        options.rate = parseNumber(*rate, "--rate");
        if (*options.rate <= 0.0) {
            throw UsageError("--rate must be above 0");
        }
    }
    if (block) {
        options.blockFrames = parsePositiveInteger(*block, "--block");
    }
    return options;
}

std::unique_ptr<RenderSource> openSource(const RenderOptions& options) {
    if (options.input) {
        auto source = std::make_unique<FileSource>(*options.input);
        if (source->channels() > 2) {
            throw std::runtime_error(*options.input + " has " + std::to_string(source->channels()) +
                                     " channels; render takes a mono or a stereo file");
        }
        return source;
    }
    const double rate = std::round(options.rate.value_or(demoRate));
    if (rate < lowestDemoRate || rate > highestDemoRate) {
        throw UsageError("the demo riff is made at 8000 to 384000 Hz; --rate " +
                         std::to_string(static_cast<long long>(rate)) + " is outside");
    }
    return std::make_unique<DemoSource>(rate);
}

std::vector<host::ParameterChange> parameterChanges(const std::vector<ControlSetting>& settings,
                                                    const host::PluginHost& plugin) {
    std::vector<host::ParameterChange> changes;
    for (const auto& setting : settings) {
        try {
            changes.push_back({host::findParameter(plugin.identity().parameterNames, setting.name),
                               setting.value, setting.seconds});
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("plug-in " + plugin.path() + ": " + error.what());
        }
    }
    return changes;
}

std::string pluginName(const host::PluginHost& plugin) {
    const auto& name = plugin.identity().effectName;
    return name.empty() ? std::filesystem::path(plugin.path()).filename().string() : name;
}

/// Runs the source through the effect into the writer; returns the frames rendered.
long long renderAll(RenderSource& source, host::BlockRenderer& renderer, AudioWriter& writer,
                    int blockFrames) {
    ProgressBar progress(source.frames(), source.sampleRate());
    std::vector<std::vector<float>> buffers;
    std::vector<const float*> channels;
    while (const size_t frames = source.read(buffers, static_cast<size_t>(blockFrames))) {
        channels.clear();
        for (const auto& buffer : buffers) {
            channels.push_back(buffer.data());
        }
        writer.write(renderer.process(channels, static_cast<int>(frames)), frames);
        progress.advance(renderer.position());
    }
    progress.finish();
    return renderer.position();
}

} // namespace

std::string defaultPluginPath() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        throw std::runtime_error("cannot find the folder of this program (" + error.message() +
                                 "); name the plug-in with --plugin");
    }
    return (program.parent_path() / "Torvane.so").string();
}

int renderCommand(Arguments& arguments) {
    const RenderOptions options = parseOptions(arguments);
    const auto source = openSource(options);
    host::PluginHost plugin(options.plugin);

    host::RenderSetup setup;
    setup.channels = source->channels();
    setup.audioRate = source->sampleRate();
    setup.pluginRate = options.rate.value_or(source->sampleRate());
    setup.blockFrames = options.blockFrames;
    setup.changes = parameterChanges(options.settings, plugin);

    AudioWriter writer(options.output, setup.channels, static_cast<int>(setup.audioRate));
    long long frames = 0;
    {
        host::BlockRenderer renderer(plugin, setup);
        frames = renderAll(*source, renderer, writer, options.blockFrames);
    }
    writer.commit();
    std::printf("rendered %s: %lld frames (%.2f s, %s) through %s to %s\n", source->name().c_str(),
                frames, static_cast<double>(frames) / setup.audioRate,
                setup.channels == 1 ? "mono" : "stereo", pluginName(plugin).c_str(),
                options.output.c_str());
    return 0;
}

} // namespace torvane::cli
