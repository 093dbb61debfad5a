#pragma once

#include "plugin/Vst2Abi.h"

#include <atomic>
#include <cstddef>
#include <string>

namespace torvane {

/// Adapts the plain VST 2 entry points to virtual operations: it owns the `AEffect` record a
/// host holds, and its dispatcher turns opcodes into calls. The C entry points it installs
/// catch every exception: a dispatcher call that fails answers 0, a block that fails is
/// silence, and each distinct failure is reported once on stderr.
///
/// Threads: `processReplacing` on the host's audio thread; everything else on the host's
/// dispatcher or window thread.
class AudioEffect {
public:
    AudioEffect(vst2::AudioMasterCallback audioMaster, vst2::VstInt32 numPrograms,
                vst2::VstInt32 numParams);
    virtual ~AudioEffect() = default;
    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;

    vst2::AEffect* getAeffect() { return &effect; }
    /// The effect that owns `effect`, or null for a record that is not ours.
    static AudioEffect* owning(vst2::AEffect* effect);

    /// One dispatcher call; effClose deletes this object.
    virtual vst2::VstIntPtr dispatcher(vst2::VstInt32 opcode, vst2::VstInt32 index,
                                       vst2::VstIntPtr value, void* ptr, float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { sampleRate = rate; }
    virtual void setBlockSize(vst2::VstInt32 frames) { blockSize = frames; }
    virtual void processReplacing(float** inputs, float** outputs, vst2::VstInt32 frames) = 0;
    virtual void processDoubleReplacing(double**, double**, vst2::VstInt32) {}
    virtual void setParameter(vst2::VstInt32, float) {}
    virtual float getParameter(vst2::VstInt32) { return 0.0f; }
    /// Writes at most 8 bytes.
    virtual void getParameterName(vst2::VstInt32, char* text) { text[0] = '\0'; }
    virtual void getParameterLabel(vst2::VstInt32, char* text) { text[0] = '\0'; }
    virtual void getParameterDisplay(vst2::VstInt32, char* text) { text[0] = '\0'; }
    virtual void setProgram(vst2::VstInt32 program) { currentProgram = program; }
    virtual vst2::VstInt32 getProgram() { return currentProgram; }
    virtual void setProgramName(const char*) {}
    virtual void getProgramName(char* name) { name[0] = '\0'; }
    virtual vst2::VstInt32 getChunk(void**, bool) { return 0; }
    virtual vst2::VstInt32 setChunk(void*, vst2::VstInt32, bool) { return 0; }

    /// Sets a parameter and tells the host, as a user's change from the window.
    void setParameterAutomated(vst2::VstInt32 index, float value);
    /// Tell the host that the user takes hold of a parameter in the window, and lets it go.
    void beginEdit(vst2::VstInt32 index);
    void endEdit(vst2::VstInt32 index);

    /// The window, on the host's window thread. An effect with one sets the has-editor flag.
    /// `getEditorRect` stores a pointer to the effect's own rectangle; `openEditor` gets the
    /// host's parent window (an X11 window id) and answers whether the window opened.
    virtual bool getEditorRect(vst2::ERect**) { return false; }
    virtual bool openEditor(void*) { return false; }
    virtual void closeEditor() {}
    virtual void idleEditor() {}

    /// Reports `message` on stderr unless it was the last one reported by this effect. Any
    /// thread.
    void reportFailure(const char* where, const std::string& message);

protected:
    void setUniqueID(vst2::VstInt32 id) { effect.uniqueID = id; }
    void setNumInputs(vst2::VstInt32 count) { effect.numInputs = count; }
    void setNumOutputs(vst2::VstInt32 count) { effect.numOutputs = count; }
    void canProcessReplacing(bool state) { setFlag(vst2::effFlagsCanReplacing, state); }
    void canDoubleReplacing(bool state) { setFlag(vst2::effFlagsCanDoubleReplacing, state); }
    void hasEditor(bool state) { setFlag(vst2::effFlagsHasEditor, state); }
    void setFlag(vst2::VstInt32 flag, bool state);

    vst2::AudioMasterCallback audioMaster;
    float sampleRate = 44100.0f;
    vst2::VstInt32 blockSize = 1024;
    vst2::VstInt32 currentProgram = 0;

private:
    vst2::AEffect effect{};
    /// Hash of the last message reported.
    std::atomic<std::size_t> lastFailure{0};
};

/// Copies `text` into a host buffer of `size` bytes, always terminated.
void copyString(char* destination, const std::string& text, std::size_t size);

} // namespace torvane
