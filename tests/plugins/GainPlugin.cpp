// A VST 2.4 effect for the host's tests, written straight against the binary interface: two
// inputs, two outputs and the parameters "Level" and "Oversampling", a name longer than the 8
// bytes a host receives. It multiplies both channels by Level and logs each call it gets, one
// line per call, for the tests to read through testPluginCalls().
//
// The same source builds the broken effects of the host's error tests: TEST_PLUGIN_FAULT names
// what is wrong with the record, TEST_PLUGIN_MAIN_ONLY exports the entry only under "main",
// and TEST_PLUGIN_NO_ENTRY exports no entry point at all.

#include "plugin/Vst2Abi.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#define TEST_EXPORT __attribute__((visibility("default")))

namespace {

enum class Fault { none, nullEffect, badMagic, noReplacing, noInputs, throwsInProcess };
#ifndef TEST_PLUGIN_FAULT
#define TEST_PLUGIN_FAULT none
#endif
constexpr Fault fault = Fault::TEST_PLUGIN_FAULT;

constexpr const char* parameterNames[] = {"Level", "Oversampling"};
constexpr int parameterCount = 2;

/// The calls of the effect made last, one per line; kept after close for the tests to read.
std::string calls;

void log(const std::string& line) { calls += line + "\n"; }

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

struct GainEffect {
    vst2::AEffect record{};
    vst2::AudioMasterCallback host = nullptr;
    float values[parameterCount] = {1.0f, 0.5f};
    int blocks = 0;
};

/// The effects made and not yet closed. A host that refuses a broken effect without closing it
/// leaves it here, and unloading the library frees it.
std::vector<std::unique_ptr<GainEffect>> effects;

GainEffect& self(vst2::AEffect* effect) { return *static_cast<GainEffect*>(effect->object); }

/// What the host answers when the effect starts: its rate, block size, process level, vendor.
void logHostAnswers(GainEffect& gain) {
    char vendor[64] = {};
    std::string line = "host";
    for (auto opcode : {vst2::audioMasterGetSampleRate, vst2::audioMasterGetBlockSize,
                        vst2::audioMasterGetCurrentProcessLevel}) {
        line += " " + std::to_string(gain.host(&gain.record, opcode, 0, 0, nullptr, 0.0f));
    }
    gain.host(&gain.record, vst2::audioMasterGetVendorString, 0, 0, vendor, 0.0f);
    log(line + " " + vendor);
}

/// The texts the effect tells about itself.
const std::map<vst2::VstInt32, const char*> texts = {
    {vst2::effGetEffectName, "Test gain"},
    {vst2::effGetVendorString, "Quillon Audio tests"},
    {vst2::effGetProductString, "Gain"}};

std::string arrangement(const vst2::VstSpeakerArrangement* layout) {
    return layout == nullptr
               ? "none"
               : std::to_string(layout->type) + "/" + std::to_string(layout->numChannels);
}

vst2::VstIntPtr dispatcher(vst2::AEffect* effect, vst2::VstInt32 opcode, vst2::VstInt32 index,
                           vst2::VstIntPtr value, void* ptr, float opt) {
    GainEffect& gain = self(effect);
    if (const auto text = texts.find(opcode); text != texts.end()) {
        std::strcpy(static_cast<char*>(ptr), text->second);
        return 1;
    }
    switch (opcode) {
    case vst2::effOpen:
        log("open");
        return 0;
    case vst2::effClose:
        log("close");
        std::erase_if(effects, [&](const auto& made) { return made.get() == &gain; });
        return 0;
    case vst2::effSetSampleRate:
        log("rate " + number(opt));
        return 0;
    case vst2::effSetBlockSize:
        log("block " + std::to_string(value));
        return 0;
    case vst2::effSetSpeakerArrangement:
        log("arrangement " +
            arrangement(reinterpret_cast<const vst2::VstSpeakerArrangement*>(value)) + " " +
            arrangement(static_cast<const vst2::VstSpeakerArrangement*>(ptr)));
        return 1;
    case vst2::effMainsChanged:
        log("mains " + std::to_string(value));
        if (value != 0) {
            logHostAnswers(gain);
        }
        return 0;
    case vst2::effGetParamName:
        // Exactly as the interface allows: up to 8 bytes, no terminator when the name fills them.
        if (index >= 0 && index < parameterCount) {
            std::strncpy(static_cast<char*>(ptr), parameterNames[index], vst2::kVstMaxParamStrLen);
        }
        return 0;
    case vst2::effGetVendorVersion:
        return 7;
    default:
        return 0;
    }
}

void setParameter(vst2::AEffect* effect, vst2::VstInt32 index, float value) {
    log("set " + std::to_string(index) + " " + number(value));
    if (index >= 0 && index < parameterCount) {
        self(effect).values[index] = value;
    }
}

float getParameter(vst2::AEffect* effect, vst2::VstInt32 index) {
    return index >= 0 && index < parameterCount ? self(effect).values[index] : 0.0f;
}

void processReplacing(vst2::AEffect* effect, float** inputs, float** outputs,
                      vst2::VstInt32 frames) {
    GainEffect& gain = self(effect);
    log("process " + std::to_string(frames) + (inputs[0] == inputs[1] ? " shared" : ""));
    if (fault == Fault::throwsInProcess && ++gain.blocks == 3) {
        throw std::runtime_error("the test effect fails on its third block");
    }
    for (int channel = 0; channel < 2; ++channel) {
        for (vst2::VstInt32 i = 0; i < frames; ++i) {
            outputs[channel][i] = inputs[channel][i] * gain.values[0];
        }
    }
}

vst2::AEffect* createEffect(vst2::AudioMasterCallback host) {
    calls.clear();
    log("version " + std::to_string(host(nullptr, vst2::audioMasterVersion, 0, 0, nullptr, 0.0f)));
    if (fault == Fault::nullEffect) {
        return nullptr;
    }
    auto* gain = effects.emplace_back(std::make_unique<GainEffect>()).get();
    gain->host = host;
    vst2::AEffect& record = gain->record;
    record.magic =
        fault == Fault::badMagic ? vst2::fourCharacters('N', 'o', 'p', 'e') : vst2::effectMagic;
    record.dispatcher = dispatcher;
    record.setParameter = setParameter;
    record.getParameter = getParameter;
    record.numParams = parameterCount;
    record.numInputs = fault == Fault::noInputs ? 0 : 2;
    record.numOutputs = 2;
    record.object = gain;
    record.uniqueID = vst2::fourCharacters('t', 'G', 'n', '1');
    record.version = 3;
    record.processReplacing = fault == Fault::noReplacing ? nullptr : processReplacing;
    return &record;
}

} // namespace

extern "C" {

TEST_EXPORT const char* testPluginCalls() { return calls.c_str(); }

#ifdef TEST_PLUGIN_NO_ENTRY
// The effect's code under a name no host looks for.
TEST_EXPORT vst2::AEffect* createTestEffect(vst2::AudioMasterCallback host) {
    return createEffect(host);
}
#else
#ifndef TEST_PLUGIN_MAIN_ONLY
TEST_EXPORT vst2::AEffect* VSTPluginMain(vst2::AudioMasterCallback host) {
    return createEffect(host);
}
#endif
// C++ reserves the name main, so the function gets it as its symbol name only.
TEST_EXPORT vst2::AEffect* legacyMain(vst2::AudioMasterCallback host) __asm__("main");
TEST_EXPORT vst2::AEffect* legacyMain(vst2::AudioMasterCallback host) { return createEffect(host); }
#endif
}
