// The module's exported entry points. They live apart from the effect's library so that
// programs linking the library (the tests) keep their own `main`.
#include "plugin/PluginEntry.h"

#include <exception>

extern "C" vst2::AEffect* VSTPluginMain(vst2::AudioMasterCallback audioMaster) {
    if (audioMaster == nullptr ||
        audioMaster(nullptr, vst2::audioMasterVersion, 0, 0, nullptr, 0.0f) == 0) {
        return nullptr;
    }
    try {
        torvane::AudioEffect* effect = torvane::createEffectInstance(audioMaster);
        return effect->getAeffect();
    } catch (const std::exception& error) {
        torvane::reportStartUpFailure(error.what());
    } catch (...) {
        torvane::reportStartUpFailure("unknown exception");
    }
    return nullptr;
}

/// Older hosts look for the entry point under the name "main".
extern "C" __attribute__((visibility("default"))) vst2::AEffect* vstPluginMainAlias(
    vst2::AudioMasterCallback audioMaster) __asm__("main");

extern "C" vst2::AEffect* vstPluginMainAlias(vst2::AudioMasterCallback audioMaster) {
    return VSTPluginMain(audioMaster);
}
