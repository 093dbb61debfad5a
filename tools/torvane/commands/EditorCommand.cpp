#include "tools/torvane/commands/Commands.h"

#include "tools/host/HostWindow.h"
#include "tools/host/PluginHost.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace torvane::cli {

namespace {

/// Hosts idle an effect's window 15 to 60 times a second; this one at the top of that range.
constexpr auto idlePeriod = std::chrono::microseconds(16667);
/// Idle calls before a screenshot, so that the window has drawn everything.
constexpr int idlesBeforeScreenshot = 12;

struct EditorOptions {
    std::string plugin;
    std::optional<std::string> screenshot;
    std::optional<double> seconds;
};

EditorOptions parseOptions(Arguments& arguments) {
    EditorOptions options;
    const auto plugin = arguments.takeOption("--plugin");
    options.screenshot = arguments.takeOption("--screenshot");
    const auto seconds = arguments.takeOption("--seconds");
    arguments.expectNothingElse();
    options.plugin = plugin ? *plugin : defaultPluginPath();
    if (seconds) {
        options.seconds = parseNumber(*seconds, "--seconds");
        if (*options.seconds <= 0.0) {
            throw UsageError("--seconds must be above 0");
        }
    }
    return options;
}

/// Prints each parameter a user lets go of in the window, with its last value.
void printEdits(host::PluginHost& plugin) {
    auto last = std::make_shared<std::map<int, float>>();
    plugin.onEdit([&plugin, last](const host::ParameterEdit& edit) {
        if (edit.kind == host::ParameterEdit::Kind::automate) {
            (*last)[edit.index] = edit.value;
        } else if (edit.kind == host::ParameterEdit::Kind::end && last->contains(edit.index)) {
            const auto& names = plugin.identity().parameterNames;
            const std::string name = edit.index >= 0 && static_cast<size_t>(edit.index) < names.size()
                                         ? names[static_cast<size_t>(edit.index)]
                                         : std::to_string(edit.index);
            std::printf("%s: %.3f\n", name.c_str(), static_cast<double>((*last)[edit.index]));
            std::fflush(stdout);
        }
    });
}

/// Idles the window until `until` says stop or the user closes it; the number of idle calls.
template <class Until>
int runWindow(host::PluginHost& plugin, host::HostWindow& window, Until until) {
    int idles = 0;
    auto next = std::chrono::steady_clock::now();
    while (window.handleEvents() && !until(idles)) {
        plugin.idleEditor();
        ++idles;
        next += idlePeriod;
        std::this_thread::sleep_until(next);
    }
    return idles;
}

} // namespace

int editorCommand(Arguments& arguments) {
    const EditorOptions options = parseOptions(arguments);
    host::PluginHost plugin(options.plugin);
    if (!plugin.hasEditor()) {
        throw std::runtime_error("plug-in " + plugin.path() + " has no editor window");
    }
    const auto size = plugin.editorSize();
    if (!size || size->width <= 0 || size->height <= 0) {
        throw std::runtime_error("plug-in " + plugin.path() + " gives its window no size");
    }
    host::HostWindow window(size->width, size->height, "Torvane");
    printEdits(plugin);
    if (!plugin.openEditor(window.id())) {
        throw std::runtime_error("plug-in " + plugin.path() + " could not open its window");
    }
    window.waitUntilShown(2.0);
    const auto start = std::chrono::steady_clock::now();
    runWindow(plugin, window, [&](int idles) {
        if (options.seconds) {
            return std::chrono::steady_clock::now() - start >=
                   std::chrono::duration<double>(*options.seconds);
        }
        return options.screenshot.has_value() && idles >= idlesBeforeScreenshot;
    });
    if (options.screenshot) {
        window.screenshot(*options.screenshot);
        std::printf("wrote %s (%d x %d)\n", options.screenshot->c_str(), size->width, size->height);
    }
    plugin.closeEditor();
    return 0;
}

} // namespace torvane::cli
