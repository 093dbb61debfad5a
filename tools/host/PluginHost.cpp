#include "tools/host/PluginHost.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace torvane::host {

namespace {

using vst2::VstInt32;
using vst2::VstIntPtr;

constexpr VstIntPtr hostInterfaceVersion = 2400;
/// audioMasterGetCurrentProcessLevel's answer for a render that is not real time.
constexpr VstIntPtr offlineProcessLevel = 4;
constexpr const char* hostVendor = "Quillon Audio";
constexpr const char* hostProduct = "Torvane render";
constexpr VstIntPtr hostVendorVersion = 1000;
/// Sanity bounds: counts above these come from a broken record, not from a real effect.
constexpr VstInt32 mostChannels = 64;
constexpr VstInt32 mostParameters = 65536;

/// The host an effect belongs to while its entry point runs, before `user` is set.
thread_local PluginHost* hostBeingLoaded = nullptr;

PluginHost* hostOf(vst2::AEffect* effect) {
    if (hostBeingLoaded != nullptr) {
        return hostBeingLoaded;
    }
    return effect != nullptr ? static_cast<PluginHost*>(effect->user) : nullptr;
}

/// Copies `text` into a buffer of `size` bytes, always terminated.
VstIntPtr copyString(void* buffer, const char* text, size_t size) {
    if (buffer == nullptr) {
        return 0;
    }
    auto* destination = static_cast<char*>(buffer);
    const size_t length = std::min(std::strlen(text), size - 1);
    std::memcpy(destination, text, length);
    destination[length] = '\0';
    return 1;
}

VstIntPtr audioMaster(vst2::AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr,
                      void* ptr, float opt) {
    PluginHost* host = hostOf(effect);
    switch (opcode) {
    case vst2::audioMasterAutomate:
    case vst2::audioMasterBeginEdit:
    case vst2::audioMasterEndEdit:
        if (host != nullptr) {
            const auto kind = opcode == vst2::audioMasterAutomate  ? ParameterEdit::Kind::automate
                              : opcode == vst2::audioMasterBeginEdit ? ParameterEdit::Kind::begin
                                                                     : ParameterEdit::Kind::end;
            host->reportEdit({kind, index, opcode == vst2::audioMasterAutomate ? opt : 0.0f});
        }
        return 1;
    case vst2::audioMasterVersion:
        return hostInterfaceVersion;
    case vst2::audioMasterGetSampleRate:
        return host != nullptr ? std::lround(host->sampleRate()) : 0;
    case vst2::audioMasterGetBlockSize:
        return host != nullptr ? host->maxBlockFrames() : 0;
    case vst2::audioMasterGetCurrentProcessLevel:
        return offlineProcessLevel;
    case vst2::audioMasterGetVendorString:
        return copyString(ptr, hostVendor, vst2::kVstMaxVendorStrLen);
    case vst2::audioMasterGetProductString:
        return copyString(ptr, hostProduct, vst2::kVstMaxProductStrLen);
    case vst2::audioMasterGetVendorVersion:
        return hostVendorVersion;
    default:
        return 0;
    }
}

/// Makes a relative path explicit, so that dlopen does not search the library path for it.
std::string existingFile(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw std::runtime_error("plug-in " + path + ": no such file");
    }
    return std::filesystem::absolute(path, error).string();
}

/// Clears the loading host when the entry point returns or throws.
struct LoadingScope {
    explicit LoadingScope(PluginHost* host) { hostBeingLoaded = host; }
    ~LoadingScope() { hostBeingLoaded = nullptr; }
};

} // namespace

PluginHost::PluginHost(const std::string& path)
    : libraryPath(existingFile(path)), library(libraryPath) {
    callEntryPoint();
    try {
        dispatch(vst2::effOpen);
        readIdentity();
    } catch (...) {
        closeEffect();
        throw;
    }
}

PluginHost::~PluginHost() {
    if (editorIsOpen) {
        try {
            closeEditor();
        } catch (...) {
            // The effect is closed next in any case.
        }
    }
    if (resumed) {
        try {
            suspend();
        } catch (...) {
            // Closing is all that is left to do with an effect that fails to stop.
        }
    }
    closeEffect();
}

void PluginHost::fail(const std::string& what) const {
    throw std::runtime_error("plug-in " + libraryPath + ": " + what);
}

template <class Call>
auto PluginHost::guarded(const char* call, Call&& body) const {
    try {
        return body();
    } catch (const std::exception& error) {
        fail(std::string(call) + " failed: " + error.what());
    } catch (...) {
        fail(std::string(call) + " failed with an unknown exception");
    }
}

void PluginHost::callEntryPoint() {
    void* entry = library.symbol("VSTPluginMain");
    if (entry == nullptr) {
        entry = library.symbol("main");
    }
    if (entry == nullptr) {
        fail("no entry point: it exports neither VSTPluginMain nor main");
    }
    const auto pluginEntry = reinterpret_cast<vst2::PluginEntry>(entry);
    {
        LoadingScope loading(this);
        effect = guarded("the entry point", [&] { return pluginEntry(audioMaster); });
    }
    checkEffect();
}

void PluginHost::checkEffect() {
    if (effect == nullptr) {
        fail("the entry point returned no effect");
    }
    if (effect->magic != vst2::effectMagic) {
        char numbers[64];
        std::snprintf(numbers, sizeof numbers, "0x%08x instead of 0x%08x",
                      static_cast<unsigned>(effect->magic),
                      static_cast<unsigned>(vst2::effectMagic));
        effect = nullptr;
        fail(std::string("not a VST 2 effect: magic number ") + numbers);
    }
    if (effect->dispatcher == nullptr) {
        effect = nullptr;
        fail("the effect has no dispatcher");
    }
    effect->user = this;
    std::string problem;
    if (effect->processReplacing == nullptr) {
        problem = "the effect has no replacing process call (processReplacing)";
    } else if (effect->numInputs < 1 || effect->numOutputs < 1) {
        problem = "the effect has " + std::to_string(effect->numInputs) + " inputs and " +
                  std::to_string(effect->numOutputs) + " outputs; it needs at least one of each";
    } else if (effect->numInputs > mostChannels || effect->numOutputs > mostChannels ||
               effect->numParams < 0 || effect->numParams > mostParameters) {
        problem = "the effect's record is broken: " + std::to_string(effect->numInputs) +
                  " inputs, " + std::to_string(effect->numOutputs) + " outputs, " +
                  std::to_string(effect->numParams) + " parameters";
    }
    if (!problem.empty()) {
        closeEffect();
        fail(problem);
    }
}

VstIntPtr PluginHost::dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                               float opt) {
    const std::string call = "dispatcher opcode " + std::to_string(opcode);
    return guarded(call.c_str(),
                   [&] { return effect->dispatcher(effect, opcode, index, value, ptr, opt); });
}

std::string PluginHost::readString(VstInt32 opcode, VstInt32 index, size_t limit) {
    // Far more room than the interface allows: some effects write past its limits.
    std::array<char, 256> text{};
    dispatch(opcode, index, 0, text.data());
    return std::string(text.data(), ::strnlen(text.data(), std::min(limit, text.size() - 1)));
}

void PluginHost::readIdentity() {
    auto& id = pluginIdentity;
    id.effectName = readString(vst2::effGetEffectName, 0, vst2::kVstMaxEffectNameLen);
    id.vendor = readString(vst2::effGetVendorString, 0, vst2::kVstMaxVendorStrLen);
    id.product = readString(vst2::effGetProductString, 0, vst2::kVstMaxProductStrLen);
    id.vendorVersion = static_cast<int>(dispatch(vst2::effGetVendorVersion));
    id.uniqueId = effect->uniqueID;
    id.version = effect->version;
    id.inputs = effect->numInputs;
    id.outputs = effect->numOutputs;
    for (VstInt32 i = 0; i < effect->numParams; ++i) {
        // Parameter names fill up to 8 bytes and need not be terminated.
        id.parameterNames.push_back(readString(vst2::effGetParamName, i, vst2::kVstMaxParamStrLen));
    }
}

void PluginHost::prepare(double sampleRate, int maxBlock, ChannelLayout layout) {
    if (resumed) {
        throw std::logic_error("PluginHost: prepare while the effect runs");
    }
    if (!(sampleRate > 0.0) || maxBlock < 1) {
        throw std::invalid_argument(
            "PluginHost: the sample rate and the block size must be above 0");
    }
    rate = sampleRate;
    blockFrames = maxBlock;
    StderrCapture reports;
    dispatch(vst2::effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    dispatch(vst2::effSetBlockSize, 0, maxBlock);
    vst2::VstSpeakerArrangement input{};
    input.type = layout == ChannelLayout::mono ? vst2::kSpeakerArrMono : vst2::kSpeakerArrStereo;
    input.numChannels = layout == ChannelLayout::mono ? 1 : 2;
    vst2::VstSpeakerArrangement output = input;
    dispatch(vst2::effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&input), &output);
    failOnReport(reports);
    prepared = true;
}

void PluginHost::resume() {
    if (!prepared) {
        throw std::logic_error("PluginHost: resume before prepare");
    }
    StderrCapture reports;
    dispatch(vst2::effMainsChanged, 0, 1);
    failOnReport(reports);
    resumed = true;
}

// The interface has no way to refuse a setting but a report on stderr; the effect would then
// play silence, and a render of silence is no render.
void PluginHost::failOnReport(StderrCapture& reports) const {
    if (const std::string report = firstLine(reports.finish()); !report.empty()) {
        fail(report);
    }
}

void PluginHost::suspend() {
    resumed = false;
    dispatch(vst2::effMainsChanged, 0, 0);
}

void PluginHost::checkParameterIndex(int index) const {
    if (index < 0 || index >= effect->numParams) {
        throw std::out_of_range("PluginHost: parameter index " + std::to_string(index) +
                                " outside 0 to " + std::to_string(effect->numParams - 1));
    }
}

void PluginHost::setParameter(int index, float value) {
    checkParameterIndex(index);
    if (effect->setParameter == nullptr) {
        fail("the effect has parameters but no setParameter call");
    }
    guarded("setParameter", [&] { effect->setParameter(effect, index, value); });
}

float PluginHost::parameter(int index) const {
    checkParameterIndex(index);
    if (effect->getParameter == nullptr) {
        fail("the effect has parameters but no getParameter call");
    }
    return guarded("getParameter", [&] { return effect->getParameter(effect, index); });
}

void PluginHost::process(float** inputs, float** outputs, int frames) {
    if (!resumed) {
        throw std::logic_error("PluginHost: process while the effect is suspended");
    }
    if (frames < 1 || frames > blockFrames) {
        throw std::logic_error("PluginHost: a block of " + std::to_string(frames) +
                               " frames, outside 1 to " + std::to_string(blockFrames));
    }
    guarded("processReplacing", [&] { effect->processReplacing(effect, inputs, outputs, frames); });
}

bool PluginHost::hasEditor() const { return (effect->flags & vst2::effFlagsHasEditor) != 0; }

std::optional<EditorSize> PluginHost::editorSize() {
    vst2::ERect* rect = nullptr;
    dispatch(vst2::effEditGetRect, 0, 0, &rect);
    if (rect == nullptr) {
        return std::nullopt;
    }
    return EditorSize{rect->right - rect->left, rect->bottom - rect->top};
}

bool PluginHost::openEditor(unsigned long parentWindow) {
    if (editorIsOpen) {
        closeEditor();
    }
    editorIsOpen = dispatch(vst2::effEditOpen, 0, 0, reinterpret_cast<void*>(parentWindow)) != 0;
    return editorIsOpen;
}

void PluginHost::idleEditor() {
    if (editorIsOpen) {
        dispatch(vst2::effEditIdle);
    }
}

void PluginHost::closeEditor() {
    editorIsOpen = false;
    dispatch(vst2::effEditClose);
}

void PluginHost::reportEdit(const ParameterEdit& edit) {
    if (editListener) {
        editListener(edit);
    }
}

void PluginHost::closeEffect() noexcept {
    if (effect == nullptr) {
        return;
    }
    try {
        effect->dispatcher(effect, vst2::effClose, 0, 0, nullptr, 0.0f);
    } catch (...) {
        // The effect is gone or broken either way; the library is unloaded next.
    }
    effect = nullptr;
}

std::string uniqueIdText(vst2::VstInt32 id) {
    const auto bits = static_cast<std::uint32_t>(id);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto character = static_cast<unsigned char>(bits >> shift);
        if (!std::isprint(character)) {
            return std::to_string(id);
        }
        text += static_cast<char>(character);
    }
    return text;
}

} // namespace torvane::host
