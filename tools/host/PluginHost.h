#pragma once

#include "plugin/Vst2Abi.h"
#include "tools/host/SharedLibrary.h"
#include "tools/host/StderrCapture.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace torvane::host {

/// What an effect says about itself once it is open.
struct PluginIdentity {
    std::string effectName;  ///< empty when the effect gives none
    std::string vendor;
    std::string product;
    int vendorVersion = 0;
    vst2::VstInt32 uniqueId = 0;
    int version = 0;  ///< AEffect::version
    int inputs = 0;
    int outputs = 0;
    /// At most 8 characters each, the interface's limit.
    std::vector<std::string> parameterNames;
};

/// What an effect's window told the host about a parameter: the user took hold of it, moved
/// it to `value`, or let it go.
struct ParameterEdit {
    enum class Kind { begin, automate, end };
    Kind kind;
    int index;
    float value;  ///< for automate
    bool operator==(const ParameterEdit&) const = default;
};

/// The size of an effect's window, in pixels.
struct EditorSize {
    int width;
    int height;
};

/// The speaker arrangement announced for both the input and the output side.
enum class ChannelLayout { mono, stereo };

/// One VST 2.4 effect loaded from a shared object and driven offline, in the order effects
/// expect of a host: the entry point (which makes the version call), effOpen; then, while
/// suspended, `prepare` (rate, block size, arrangement) and parameter values; `resume`; blocks;
/// `suspend`; and on destruction effClose and the unloading of the library.
///
/// Threads: as a real host, one thread may run `process` and `setParameter` while another
/// drives the effect's window (`openEditor`, `idleEditor`, `closeEditor`) and gets its edits;
/// everything else on one thread. Until `prepare`, the effect's queries are answered with 44100 Hz and
/// 1024 frames.
class PluginHost {
public:
    /// Loads, checks and opens the effect in `path`. Failures are std::runtime_errors that name
    /// the path: a missing or unloadable file (with the loader's reason), no entry point, an
    /// entry point that gives no effect, a wrong magic number, no replacing process call, or
    /// no input or no output.
    explicit PluginHost(const std::string& path);
    /// Suspends the effect if it runs, closes it and unloads the library; never throws.
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    const std::string& path() const { return libraryPath; }
    const PluginIdentity& identity() const { return pluginIdentity; }

    /// Tells the effect its sample rate (Hz), its largest block (frames) and the arrangement.
    /// Only while suspended. An effect that reports anything on stderr meanwhile has refused
    /// the set-up: that report becomes the failure, as in `resume`.
    void prepare(double sampleRate, int maxBlockFrames, ChannelLayout layout);
    /// effMainsChanged 1; blocks may follow. Only after `prepare`.
    void resume();
    /// effMainsChanged 0.
    void suspend();
    bool running() const { return resumed; }

    /// A parameter value from 0 to 1; the index must be below the effect's parameter count.
    void setParameter(int index, float value);
    float parameter(int index) const;

    /// One block of 1 to maxBlockFrames frames while running. `inputs` and `outputs` hold one
    /// pointer per input and output of the effect.
    void process(float** inputs, float** outputs, int frames);

    /// The effect's window. `openEditor` gets the X11 window to open in; it answers what the
    /// effect answers, true when the window opened. While it is open the owner calls
    /// `idleEditor` often (15 to 60 times a second). The window closes with the host.
    bool hasEditor() const;
    /// The rectangle the effect reports, or nothing when it reports none.
    std::optional<EditorSize> editorSize();
    bool openEditor(unsigned long parentWindow);
    void idleEditor();
    void closeEditor();
    bool editorOpen() const { return editorIsOpen; }
    /// Called with every edit the window reports, on the thread the edit comes on.
    void onEdit(std::function<void(const ParameterEdit&)> listener) { editListener = std::move(listener); }
    /// The effect's callback hands its window's edits in here.
    void reportEdit(const ParameterEdit& edit);

    /// The host's answers to the effect's queries.
    double sampleRate() const { return rate; }
    int maxBlockFrames() const { return blockFrames; }

private:
    void callEntryPoint();
    void checkEffect();
    void readIdentity();
    std::string readString(vst2::VstInt32 opcode, vst2::VstInt32 index, size_t limit);
    vst2::VstIntPtr dispatch(vst2::VstInt32 opcode, vst2::VstInt32 index = 0,
                             vst2::VstIntPtr value = 0, void* ptr = nullptr, float opt = 0.0f);
    void checkParameterIndex(int index) const;
    void closeEffect() noexcept;
    /// Runs a call into the effect; an exception that leaves it becomes a failure naming it.
    template <class Call>
    auto guarded(const char* call, Call&& body) const;
    [[noreturn]] void fail(const std::string& what) const;
    void failOnReport(StderrCapture& reports) const;

    std::string libraryPath;
    SharedLibrary library;  ///< declared before the effect, so it outlives it
    vst2::AEffect* effect = nullptr;
    PluginIdentity pluginIdentity;
    double rate = 44100.0;
    int blockFrames = 1024;
    bool prepared = false;
    bool resumed = false;
    bool editorIsOpen = false;
    std::function<void(const ParameterEdit&)> editListener;
};

/// The plug-in's unique id as its four characters, or as a number when they are not printable.
std::string uniqueIdText(vst2::VstInt32 id);

} // namespace torvane::host
