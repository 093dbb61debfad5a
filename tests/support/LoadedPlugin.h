#pragma once

#include "plugin/Vst2Abi.h"
#include "support/Tool.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace nodara::testing {

/// What a test host answers: a 2.4 host, or none.
inline vst2::VstIntPtr versionHost(vst2::AEffect*, vst2::VstInt32 opcode, vst2::VstInt32,
                                   vst2::VstIntPtr, void*, float) {
    return opcode == vst2::audioMasterVersion ? 2400 : 0;
}

inline vst2::VstIntPtr absentHost(vst2::AEffect*, vst2::VstInt32, vst2::VstInt32, vst2::VstIntPtr,
                                  void*, float) {
    return 0;
}

/// build/Torvane.so opened with dlopen, as a host opens it.
class LoadedPlugin {
public:
    LoadedPlugin() : handle(dlopen((buildDirectory() + "/Torvane.so").c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (handle == nullptr) {
            throw std::runtime_error(dlerror());
        }
        entry = reinterpret_cast<vst2::PluginEntry>(dlsym(handle, "VSTPluginMain"));
    }
    ~LoadedPlugin() { dlclose(handle); }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    vst2::PluginEntry entry = nullptr;

private:
    void* handle;
};

/// One effect instance driven through its C record.
class Effect {
public:
    explicit Effect(LoadedPlugin& plugin) : effect(plugin.entry(versionHost)) {
        if (effect == nullptr) {
            throw std::runtime_error("the plug-in gave no effect");
        }
    }
    ~Effect() { call(vst2::effClose); }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    vst2::VstIntPtr call(vst2::VstInt32 opcode, vst2::VstInt32 index = 0, vst2::VstIntPtr value = 0,
                         void* ptr = nullptr, float opt = 0.0f) {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    /// Open, rate, block size, resume: the order a host follows.
    void start(float rate, int block) {
        call(vst2::effOpen);
        call(vst2::effSetSampleRate, 0, 0, nullptr, rate);
        call(vst2::effSetBlockSize, 0, block);
        call(vst2::effMainsChanged, 0, 1);
    }
    void arrange(int channels) {
        vst2::VstSpeakerArrangement in{}, out{};
        in.numChannels = out.numChannels = channels;
        in.type = out.type = channels == 1 ? vst2::kSpeakerArrMono : vst2::kSpeakerArrStereo;
        call(vst2::effSetSpeakerArrangement, 0, reinterpret_cast<vst2::VstIntPtr>(&in), &out);
    }
    void process(float* left, float* right, float* outLeft, float* outRight, int frames) {
        float* inputs[] = {left, right};
        float* outputs[] = {outLeft, outRight};
        effect->processReplacing(effect, inputs, outputs, frames);
    }

    vst2::AEffect* effect;
};

} // namespace nodara::testing
