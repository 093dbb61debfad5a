#include "plugin/TorvaneVST2Effect.h"

#include "amp/Amplifier.h"
#include "plugin/FloatingPointMode.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace torvane {

namespace {

/// Host audio beyond this is no signal: 60 dB above full scale, far past where the first stage
/// clips. Samples outside it, and those that are not numbers, are replaced at the door.
constexpr float loudestInput = 1000.0f;

/// One comparison of the magnitude's bits per sample, which vectorises: NaN and infinity have
/// larger bits than any finite limit.
bool hasUnplayableSamples(const float* samples, size_t frames) {
    constexpr auto limit = std::bit_cast<std::uint32_t>(loudestInput);
    std::uint32_t largest = 0;
    for (size_t i = 0; i < frames; ++i) {
        largest = std::max(largest, std::bit_cast<std::uint32_t>(samples[i]) & 0x7fffffffu);
    }
    return largest > limit;
}

void copyPlayable(const float* from, float* to, size_t frames) {
    for (size_t i = 0; i < frames; ++i) {
        to[i] = std::isnan(from[i]) ? 0.0f : std::clamp(from[i], -loudestInput, loudestInput);
    }
}

} // namespace

/// Parameters for the panel: values in, the user's gestures out to the host.
class TorvaneVST2Effect::EditorLink : public EditorHost {
public:
    explicit EditorLink(TorvaneVST2Effect& effect) : effect(effect) {}
    float parameterValue(int index) override { return effect.getParameter(index); }
    void beginEdit(int index) override { effect.beginEdit(index); }
    void automate(int index, float value) override { effect.setParameterAutomated(index, value); }
    void endEdit(int index) override { effect.endEdit(index); }

private:
    TorvaneVST2Effect& effect;
};

TorvaneVST2Effect::TorvaneVST2Effect(vst2::AudioMasterCallback audioMaster,
                                     const std::shared_ptr<nodara::Driver>& driver)
    : AudioEffectX(audioMaster, 1, static_cast<vst2::VstInt32>(driver->getControls()->size())),
      driver(driver), controls(driver->getControls()) {
    setUpAmplifier(*driver);
    setUniqueID(vst2::fourCharacters('m', '5', '1', 'r'));
    setNumInputs(2);
    setNumOutputs(2);
    canDoubleReplacing(false);
    installValueMaps(controls);
    for (const auto& control : *controls) {
        if (control->getName() == "Stereo") {
            monoMode = control->getValue() < 0.5f;
        }
    }
    editorLink = std::make_unique<EditorLink>(*this);
    editor = std::make_unique<TorvaneEditor>(*editorLink, controls);
    const auto& panel = editor->getRect();
    editorRect = {static_cast<vst2::VstInt16>(panel.top), static_cast<vst2::VstInt16>(panel.left),
                  static_cast<vst2::VstInt16>(panel.bottom),
                  static_cast<vst2::VstInt16>(panel.right)};
    hasEditor(true);
}

// The panel goes before the controls and the driver it shows.
TorvaneVST2Effect::~TorvaneVST2Effect() { editor.reset(); }

void TorvaneVST2Effect::open() { changed = true; }

void TorvaneVST2Effect::suspend() { driver->setSuspended(true); }

// Hosts resume at every start of the transport: each start begins from a clean state, with
// the networks at their operating point, so nothing thumps and nothing of before is heard.
void TorvaneVST2Effect::resume() {
    if (!rateFailed && !blockSizeFailed) {
        driver->settle();
        driver->setSuspended(false);
    }
    changed = true;
}

// Hosts change the rate and the block size while the effect is suspended. One that does not
// gets the change between two blocks: a block that comes during it is refused (silence), where
// it would otherwise run on buffers and responses being replaced. A change that fails leaves
// the driver suspended, so blocks are silence until a later change of that setting succeeds.
template <class Change>
void TorvaneVST2Effect::betweenBlocks(std::atomic<bool>& failed, Change change) {
    const bool wasSuspended = driver->isSuspended();
    driver->setSuspended(true);
    try {
        change();
    } catch (...) {
        failed = true;
        throw;
    }
    failed = false;
    driver->setSuspended(wasSuspended || rateFailed || blockSizeFailed);
}

// Impossible settings are refused at the door, before any graph changes; the effect then stays
// silent until a good one comes.
void TorvaneVST2Effect::setSampleRate(float rate) {
    AudioEffectX::setSampleRate(rate);
    betweenBlocks(rateFailed, [&] {
        if (const std::string problem = amplifierRateProblem(rate); !problem.empty()) {
            throw nodara::InvalidArgumentException("TorvaneVST2Effect: " + problem);
        }
        driver->setSampleRate(rate);
    });
    changed = true;
}

void TorvaneVST2Effect::setBlockSize(vst2::VstInt32 frames) {
    AudioEffectX::setBlockSize(frames);
    betweenBlocks(blockSizeFailed, [&] {
        if (frames < 1 || frames > largestBlock) {
            throw nodara::InvalidArgumentException(nodara::concat(
                "TorvaneVST2Effect: blocks go from 1 to ", largestBlock, " frames, not ", frames));
        }
        driver->setMaxBlockSize(frames);
    });
}

void TorvaneVST2Effect::processReplacing(float** inputs, float** outputs, vst2::VstInt32 frames) {
    FlushDenormals guard;
    try {
        runBlock(inputs, outputs, frames);
    } catch (const nodara::NodaraException& error) {
        throw nodara::NodaraException(error.getMessage());
    } catch (...) {
        // Anything else is dropped: the outputs keep what stood in them.
    }
}

// Only the first chain is heard in mono; the second stands bypassed then and costs a copy.
void TorvaneVST2Effect::runBlock(float** inputs, float** outputs, vst2::VstInt32 frames) {
    if (inputs == nullptr || outputs == nullptr || inputs[0] == nullptr || outputs[0] == nullptr) {
        throw nodara::NodaraException("TorvaneVST2Effect: the host gave no audio buffers.");
    }
    const bool mono = monoBus.load() || monoMode.load();
    driverInputs[0] = inputs[0];
    driverInputs[1] = inputs[1] != nullptr && inputs[1] != inputs[0] && !mono ? inputs[1] : inputs[0];
    guardInputs(frames);
    // The driver copies while it holds the block: a rate change on another thread may replace
    // its buffers as soon as it lets go.
    const bool second = outputs[1] != nullptr && outputs[1] != outputs[0];
    driverOutputs[0] = outputs[0];
    driverOutputs[1] = second && !mono ? outputs[1] : nullptr;
    driver->process(driverInputs, frames, driverOutputs);
    if (frames > 0 && second && mono) {
        std::memcpy(outputs[1], outputs[0], static_cast<size_t>(frames) * sizeof(float));
    }
}

// A sample that is not a number, or is absurdly loud, would only break the model's state: the
// block reads a cleaned copy instead. The host's buffers stay as they are.
void TorvaneVST2Effect::guardInputs(vst2::VstInt32 frames) {
    if (frames <= 0 || frames > largestBlock) {
        return;
    }
    const auto count = static_cast<size_t>(frames);
    const bool shared = driverInputs[1] == driverInputs[0];
    for (size_t channel = 0; channel < (shared ? 1u : 2u); ++channel) {
        if (hasUnplayableSamples(driverInputs[channel], count)) {
            copyPlayable(driverInputs[channel], cleanInputs[channel].data(), count);
            driverInputs[channel] = cleanInputs[channel].data();
        }
    }
    if (shared) {
        driverInputs[1] = driverInputs[0];
    }
}

bool TorvaneVST2Effect::validIndex(vst2::VstInt32 index) const {
    return index >= 0 && static_cast<size_t>(index) < controls->size();
}

void TorvaneVST2Effect::setParameter(vst2::VstInt32 index, float value) {
    if (!validIndex(index)) {
        return;
    }
    auto& control = *(*controls)[static_cast<size_t>(index)];
    control.setValue(value);
    if (control.getName() == "Stereo") {
        monoMode = value < 0.5f;
    }
    editor->setParameter(index, value);
}

float TorvaneVST2Effect::getParameter(vst2::VstInt32 index) {
    return validIndex(index) ? (*controls)[static_cast<size_t>(index)]->getValue() : 0.0f;
}

void TorvaneVST2Effect::getParameterName(vst2::VstInt32 index, char* text) {
    if (validIndex(index)) {
        std::strncpy(text, (*controls)[static_cast<size_t>(index)]->getDisplayName().c_str(),
                     vst2::kVstMaxParamStrLen);
    }
}

bool TorvaneVST2Effect::setSpeakerArrangement(vst2::VstSpeakerArrangement* input,
                                              vst2::VstSpeakerArrangement* output) {
    if (input != nullptr && output != nullptr) {
        if (input->numChannels == 1 && output->numChannels == 1) {
            monoBus = true;
        } else if (input->numChannels == 2 && output->numChannels == 2) {
            monoBus = false;
        }
    }
    return true;
}

bool TorvaneVST2Effect::getVendorString(char* text) {
    copyString(text, "Quillon Audio", vst2::kVstMaxVendorStrLen);
    return true;
}

bool TorvaneVST2Effect::getEditorRect(vst2::ERect** rect) {
    *rect = &editorRect;
    return true;
}

bool TorvaneVST2Effect::openEditor(void* parent) {
    try {
        editor->open(reinterpret_cast<unsigned long>(parent));
        return true;
    } catch (const std::exception& error) {
        reportFailure("effEditOpen", error.what());
    }
    return false;
}

void TorvaneVST2Effect::closeEditor() { editor->close(); }

void TorvaneVST2Effect::idleEditor() { editor->idle(); }

} // namespace torvane
