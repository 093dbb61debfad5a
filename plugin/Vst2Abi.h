#pragma once

// The VST 2.4 effect binary interface: the records and numbers a host and a plug-in exchange,
// written from the published interface. Plain C layout; on x86-64 Linux the calling
// convention is the ordinary C one.

#include <cstdint>

namespace vst2 {

using VstInt16 = std::int16_t;
using VstInt32 = std::int32_t;
using VstIntPtr = std::intptr_t;

struct AEffect;

using AudioMasterCallback = VstIntPtr (*)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                          VstIntPtr value, void* ptr, float opt);
using DispatcherProc = VstIntPtr (*)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                     VstIntPtr value, void* ptr, float opt);
using ProcessProc = void (*)(AEffect* effect, float** inputs, float** outputs, VstInt32 frames);
using ProcessDoubleProc = void (*)(AEffect* effect, double** inputs, double** outputs,
                                   VstInt32 frames);
using SetParameterProc = void (*)(AEffect* effect, VstInt32 index, float value);
using GetParameterProc = float (*)(AEffect* effect, VstInt32 index);

/// Four characters packed big-endian, as the interface writes magic numbers and ids.
constexpr VstInt32 fourCharacters(char a, char b, char c, char d) {
    return static_cast<VstInt32>((static_cast<std::uint32_t>(static_cast<unsigned char>(a)) << 24) |
                                 (static_cast<std::uint32_t>(static_cast<unsigned char>(b)) << 16) |
                                 (static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 8) |
                                 static_cast<std::uint32_t>(static_cast<unsigned char>(d)));
}

constexpr VstInt32 effectMagic = fourCharacters('V', 's', 't', 'P');

/// The record a plug-in hands to its host.
struct AEffect {
    VstInt32 magic;
    DispatcherProc dispatcher;
    ProcessProc process;  ///< deprecated accumulating form
    SetParameterProc setParameter;
    GetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;
    VstInt32 numOutputs;
    VstInt32 flags;
    VstIntPtr resvd1;
    VstIntPtr resvd2;
    VstInt32 initialDelay;  ///< latency in samples
    VstInt32 realQualities;
    VstInt32 offQualities;
    float ioRatio;
    void* object;  ///< the plug-in's own object
    void* user;    ///< the host's
    VstInt32 uniqueID;
    VstInt32 version;
    ProcessProc processReplacing;
    ProcessDoubleProc processDoubleReplacing;
    char future[56];
};

/// Bits of AEffect::flags.
enum EffectFlags : VstInt32 {
    effFlagsHasEditor = 1 << 0,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsCanDoubleReplacing = 1 << 12,
};

/// Dispatcher opcodes, host to plug-in.
enum EffectOpcodes : VstInt32 {
    effOpen = 0,
    effClose = 1,
    effSetProgram = 2,
    effGetProgram = 3,
    effSetProgramName = 4,
    effGetProgramName = 5,
    effGetParamLabel = 6,
    effGetParamDisplay = 7,
    effGetParamName = 8,
    effSetSampleRate = 10,
    effSetBlockSize = 11,
    effMainsChanged = 12,
    effEditGetRect = 13,
    effEditOpen = 14,
    effEditClose = 15,
    effEditIdle = 19,
    effGetChunk = 23,
    effSetChunk = 24,
    effProcessEvents = 25,
    effCanBeAutomated = 26,
    effString2Parameter = 27,
    effGetProgramNameIndexed = 29,
    effGetInputProperties = 33,
    effGetOutputProperties = 34,
    effGetPlugCategory = 35,
    effSetSpeakerArrangement = 42,
    effSetBypass = 44,
    effGetEffectName = 45,
    effGetVendorString = 47,
    effGetProductString = 48,
    effGetVendorVersion = 49,
    effVendorSpecific = 50,
    effCanDo = 51,
    effGetTailSize = 52,
    effGetParameterProperties = 56,
    effGetVstVersion = 58,
    effEditKeyDown = 59,
    effEditKeyUp = 60,
    effGetSpeakerArrangement = 69,
    effStartProcess = 71,
    effStopProcess = 72,
    effSetProcessPrecision = 77,
};

/// Host callback opcodes, plug-in to host.
enum AudioMasterOpcodes : VstInt32 {
    audioMasterAutomate = 0,
    audioMasterVersion = 1,
    audioMasterCurrentId = 2,
    audioMasterIdle = 3,
    audioMasterGetTime = 7,
    audioMasterIOChanged = 13,
    audioMasterSizeWindow = 15,
    audioMasterGetSampleRate = 16,
    audioMasterGetBlockSize = 17,
    audioMasterGetCurrentProcessLevel = 23,
    audioMasterGetVendorString = 32,
    audioMasterGetProductString = 33,
    audioMasterGetVendorVersion = 34,
    audioMasterCanDo = 37,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
};

/// String limits, terminator included where the host expects one.
enum StringLimits : VstInt32 {
    kVstMaxParamStrLen = 8,
    kVstMaxProgNameLen = 24,
    kVstMaxEffectNameLen = 32,
    kVstMaxVendorStrLen = 64,
    kVstMaxProductStrLen = 64,
};

struct ERect {
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};

struct VstSpeakerProperties {
    float azimuth;
    float elevation;
    float radius;
    float reserved;
    char name[64];
    VstInt32 type;
    char future[28];
};

enum SpeakerArrangementType : VstInt32 {
    kSpeakerArrMono = 0,
    kSpeakerArrStereo = 1,
};

struct VstSpeakerArrangement {
    VstInt32 type;
    VstInt32 numChannels;
    VstSpeakerProperties speakers[8];
};

/// The entry point a plug-in exports, also under the name "main" for older hosts.
using PluginEntry = AEffect* (*)(AudioMasterCallback host);

static_assert(sizeof(VstSpeakerProperties) == 112, "speaker record layout");
static_assert(sizeof(ERect) == 8, "rectangle layout");

} // namespace vst2
