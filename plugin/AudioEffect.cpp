#include "plugin/AudioEffect.h"

#include "plugin/FloatingPointMode.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>

namespace torvane {

namespace {

/// What a failing call answers, and the name its report carries. Every call runs flushed and
/// gives the host its floating-point mode back.
template <class Result, class Call>
Result guarded(vst2::AEffect* record, const char* where, Result onFailure, Call call) {
    AudioEffect* effect = AudioEffect::owning(record);
    if (effect == nullptr) {
        return onFailure;
    }
    FlushDenormals mode;
    try {
        return call(*effect);
    } catch (const std::exception& error) {
        effect->reportFailure(where, error.what());
    } catch (...) {
        effect->reportFailure(where, "unknown exception");
    }
    return onFailure;
}

void silence(float** outputs, vst2::VstInt32 frames, vst2::VstInt32 channels) {
    if (outputs == nullptr || frames <= 0) {
        return;
    }
    for (vst2::VstInt32 channel = 0; channel < channels; ++channel) {
        if (outputs[channel] != nullptr) {
            std::memset(outputs[channel], 0, static_cast<size_t>(frames) * sizeof(float));
        }
    }
}

} // namespace

extern "C" {

static vst2::VstIntPtr dispatchEntry(vst2::AEffect* record, vst2::VstInt32 opcode,
                                     vst2::VstInt32 index, vst2::VstIntPtr value, void* ptr,
                                     float opt) {
    return guarded<vst2::VstIntPtr>(record, "dispatcher", 0, [&](AudioEffect& effect) {
        return effect.dispatcher(opcode, index, value, ptr, opt);
    });
}

static void processEntry(vst2::AEffect* record, float** inputs, float** outputs,
                         vst2::VstInt32 frames) {
    // The accumulating form is not offered: the block is the replacing one.
    const bool done = guarded<bool>(record, "process", false, [&](AudioEffect& effect) {
        effect.processReplacing(inputs, outputs, frames);
        return true;
    });
    if (!done && record != nullptr) {
        silence(outputs, frames, record->numOutputs);
    }
}

static void processReplacingEntry(vst2::AEffect* record, float** inputs, float** outputs,
                                  vst2::VstInt32 frames) {
    const bool done = guarded<bool>(record, "processReplacing", false, [&](AudioEffect& effect) {
        effect.processReplacing(inputs, outputs, frames);
        return true;
    });
    if (!done && record != nullptr) {
        silence(outputs, frames, record->numOutputs);
    }
}

static void processDoubleReplacingEntry(vst2::AEffect* record, double** inputs, double** outputs,
                                        vst2::VstInt32 frames) {
    guarded<bool>(record, "processDoubleReplacing", false, [&](AudioEffect& effect) {
        effect.processDoubleReplacing(inputs, outputs, frames);
        return true;
    });
}

static void setParameterEntry(vst2::AEffect* record, vst2::VstInt32 index, float value) {
    guarded<bool>(record, "setParameter", false, [&](AudioEffect& effect) {
        effect.setParameter(index, value);
        return true;
    });
}

static float getParameterEntry(vst2::AEffect* record, vst2::VstInt32 index) {
    return guarded<float>(record, "getParameter", 0.0f,
                          [&](AudioEffect& effect) { return effect.getParameter(index); });
}

} // extern "C"

AudioEffect::AudioEffect(vst2::AudioMasterCallback audioMaster, vst2::VstInt32 numPrograms,
                         vst2::VstInt32 numParams)
    : audioMaster(audioMaster) {
    effect.magic = vst2::effectMagic;
    effect.dispatcher = dispatchEntry;
    effect.process = processEntry;
    effect.setParameter = setParameterEntry;
    effect.getParameter = getParameterEntry;
    effect.numPrograms = numPrograms;
    effect.numParams = numParams;
    effect.numInputs = 1;
    effect.numOutputs = 2;
    effect.flags = vst2::effFlagsCanReplacing;
    effect.ioRatio = 1.0f;
    effect.object = this;
    effect.uniqueID = vst2::fourCharacters('N', 'o', 'E', 'f');
    effect.version = 1;
    effect.processReplacing = processReplacingEntry;
    effect.processDoubleReplacing = processDoubleReplacingEntry;
}

AudioEffect* AudioEffect::owning(vst2::AEffect* record) {
    if (record == nullptr || record->magic != vst2::effectMagic || record->object == nullptr) {
        return nullptr;
    }
    return static_cast<AudioEffect*>(record->object);
}

void AudioEffect::setFlag(vst2::VstInt32 flag, bool state) {
    effect.flags = state ? (effect.flags | flag) : (effect.flags & ~flag);
}

void AudioEffect::setParameterAutomated(vst2::VstInt32 index, float value) {
    setParameter(index, value);
    if (audioMaster != nullptr) {
        audioMaster(&effect, vst2::audioMasterAutomate, index, 0, nullptr, value);
    }
}

void AudioEffect::beginEdit(vst2::VstInt32 index) {
    if (audioMaster != nullptr) {
        audioMaster(&effect, vst2::audioMasterBeginEdit, index, 0, nullptr, 0.0f);
    }
}

void AudioEffect::endEdit(vst2::VstInt32 index) {
    if (audioMaster != nullptr) {
        audioMaster(&effect, vst2::audioMasterEndEdit, index, 0, nullptr, 0.0f);
    }
}

// Both host threads may fail at once: the last report is a hash swapped atomically, so the
// check needs no lock and no copy of the text.
void AudioEffect::reportFailure(const char* where, const std::string& message) {
    const std::size_t hash = std::hash<std::string>{}(message);
    if (lastFailure.exchange(hash) == hash) {
        return;
    }
    std::fprintf(stderr, "Torvane: %s failed: %s\n", where, message.c_str());
}

vst2::VstIntPtr AudioEffect::dispatcher(vst2::VstInt32 opcode, vst2::VstInt32 index,
                                        vst2::VstIntPtr value, void* ptr, float opt) {
    switch (opcode) {
    case vst2::effOpen:
        open();
        return 0;
    case vst2::effClose:
        close();
        effect.object = nullptr;
        delete this;
        return 1;
    case vst2::effSetProgram:
        setProgram(static_cast<vst2::VstInt32>(value));
        return 0;
    case vst2::effGetProgram:
        return getProgram();
    case vst2::effSetProgramName:
        if (ptr != nullptr) {
            setProgramName(static_cast<const char*>(ptr));
        }
        return 0;
    case vst2::effGetProgramName:
        if (ptr != nullptr) {
            getProgramName(static_cast<char*>(ptr));
        }
        return 0;
    case vst2::effGetParamLabel:
    case vst2::effGetParamDisplay:
    case vst2::effGetParamName:
        if (ptr == nullptr) {
            return 0;
        }
        if (opcode == vst2::effGetParamLabel) {
            getParameterLabel(index, static_cast<char*>(ptr));
        } else if (opcode == vst2::effGetParamDisplay) {
            getParameterDisplay(index, static_cast<char*>(ptr));
        } else {
            getParameterName(index, static_cast<char*>(ptr));
        }
        return 0;
    case vst2::effSetSampleRate:
        setSampleRate(opt);
        return 0;
    case vst2::effSetBlockSize:
        setBlockSize(static_cast<vst2::VstInt32>(value));
        return 0;
    case vst2::effMainsChanged:
        if (value == 0) {
            suspend();
        } else {
            resume();
        }
        return 0;
    case vst2::effEditGetRect:
        return ptr != nullptr && getEditorRect(static_cast<vst2::ERect**>(ptr)) ? 1 : 0;
    case vst2::effEditOpen:
        return openEditor(ptr) ? 1 : 0;
    case vst2::effEditClose:
        closeEditor();
        return 0;
    case vst2::effEditIdle:
        idleEditor();
        return 0;
    case vst2::effGetChunk:
        return ptr != nullptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
    case vst2::effSetChunk:
        return setChunk(ptr, static_cast<vst2::VstInt32>(value), index != 0);
    default:
        return 0;
    }
}

void copyString(char* destination, const std::string& text, std::size_t size) {
    if (destination == nullptr || size == 0) {
        return;
    }
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(destination, text.data(), length);
    destination[length] = '\0';
}

} // namespace torvane
