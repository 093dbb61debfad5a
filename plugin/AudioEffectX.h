#pragma once

#include "plugin/AudioEffect.h"

namespace torvane {

/// The 2.x operations of a VST 2 effect: identity strings, speaker arrangements, capability
/// queries. Defaults answer "no" or 0.
class AudioEffectX : public AudioEffect {
public:
    using AudioEffect::AudioEffect;

    vst2::VstIntPtr dispatcher(vst2::VstInt32 opcode, vst2::VstInt32 index, vst2::VstIntPtr value,
                               void* ptr, float opt) override;

    virtual bool getEffectName(char*) { return false; }
    virtual bool getVendorString(char*) { return false; }
    virtual bool getProductString(char*) { return false; }
    virtual vst2::VstInt32 getVendorVersion() { return 0; }
    virtual vst2::VstInt32 getVstVersion() { return 2400; }
    virtual vst2::VstInt32 canDo(const char*) { return 0; }
    virtual bool canParameterBeAutomated(vst2::VstInt32) { return false; }
    virtual bool setSpeakerArrangement(vst2::VstSpeakerArrangement*, vst2::VstSpeakerArrangement*) {
        return false;
    }
    virtual bool setBypass(bool) { return false; }
    virtual vst2::VstInt32 processEvents(void*) { return 0; }
    virtual vst2::VstInt32 getTailSize() { return 0; }
    /// 0 is "unknown": an effect that is not a synth says no more.
    virtual vst2::VstInt32 getPlugCategory() { return 0; }
};

} // namespace torvane
