#include "plugin/AudioEffectX.h"

namespace torvane {

vst2::VstIntPtr AudioEffectX::dispatcher(vst2::VstInt32 opcode, vst2::VstInt32 index,
                                         vst2::VstIntPtr value, void* ptr, float opt) {
    char* text = static_cast<char*>(ptr);
    switch (opcode) {
    case vst2::effGetEffectName:
        return ptr != nullptr && getEffectName(text) ? 1 : 0;
    case vst2::effGetVendorString:
        return ptr != nullptr && getVendorString(text) ? 1 : 0;
    case vst2::effGetProductString:
        return ptr != nullptr && getProductString(text) ? 1 : 0;
    case vst2::effGetVendorVersion:
        return getVendorVersion();
    case vst2::effGetVstVersion:
        return getVstVersion();
    case vst2::effCanDo:
        return ptr != nullptr ? canDo(static_cast<const char*>(ptr)) : 0;
    case vst2::effCanBeAutomated:
        return canParameterBeAutomated(index) ? 1 : 0;
    case vst2::effSetSpeakerArrangement:
        return setSpeakerArrangement(reinterpret_cast<vst2::VstSpeakerArrangement*>(value),
                                     static_cast<vst2::VstSpeakerArrangement*>(ptr))
                   ? 1
                   : 0;
    case vst2::effSetBypass:
        return setBypass(value != 0) ? 1 : 0;
    case vst2::effProcessEvents:
        return processEvents(ptr);
    case vst2::effGetTailSize:
        return getTailSize();
    case vst2::effGetPlugCategory:
        return getPlugCategory();
    default:
        return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

} // namespace torvane
