#pragma once

#include "editor/TorvaneEditor.h"
#include "plugin/AudioEffectX.h"
#include "runtime/Driver.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace torvane {

/// The effect a host talks to: a thin shell around the amplifier's `Driver`. It forwards the
/// life-cycle calls, exposes each control as a parameter, handles mono and stereo buses, and
/// passes audio blocks. Everything that sounds is in the system document. Its window is the
/// amplifier's panel, a `TorvaneEditor`, which only `openEditor` puts on a display.
///
/// Threads: `processReplacing` on the audio thread; `setParameter` and `getParameter` from any
/// thread (a control's writer waits, the audio thread only tries); `setSampleRate` and
/// `setBlockSize` from the dispatcher thread, normally while suspended; they wait for a
/// running block and allocate. The editor's operations on the host's window thread;
/// `setParameter` hands the panel the value without waiting, from any thread.
class TorvaneVST2Effect : public AudioEffectX {
public:
    /// Sets the amplifier up on `driver` (networks, tables, cabinet, value maps).
    TorvaneVST2Effect(vst2::AudioMasterCallback audioMaster, const std::shared_ptr<nodara::Driver>& driver);
    ~TorvaneVST2Effect() override;

    void open() override;
    void suspend() override;
    void resume() override;
    /// Refuses rates the amplifier cannot run at; the effect is then silent until a rate it
    /// takes comes.
    void setSampleRate(float rate) override;
    /// Refuses blocks outside 1 to `largestBlock` frames, likewise.
    void setBlockSize(vst2::VstInt32 frames) override;
    /// Throws the driver's failures as plain NodaraException (for example a block while
    /// suspended); the C entry point turns them into silence.
    void processReplacing(float** inputs, float** outputs, vst2::VstInt32 frames) override;
    void setParameter(vst2::VstInt32 index, float value) override;
    float getParameter(vst2::VstInt32 index) override;
    /// The control's display name, cut to 8 bytes with no terminator added.
    void getParameterName(vst2::VstInt32 index, char* text) override;
    bool setSpeakerArrangement(vst2::VstSpeakerArrangement* input,
                               vst2::VstSpeakerArrangement* output) override;
    bool getVendorString(char* text) override;
    vst2::VstInt32 getVendorVersion() override { return 1100; }
    bool canParameterBeAutomated(vst2::VstInt32) override { return true; }
    bool getEditorRect(vst2::ERect** rect) override;
    /// Answers false, with the reason on stderr, when the panel cannot open.
    bool openEditor(void* parent) override;
    void closeEditor() override;
    void idleEditor() override;

    /// The largest block a host may announce; larger ones are refused.
    static constexpr vst2::VstInt32 largestBlock = 65536;

    bool isMonoBus() const { return monoBus.load(); }
    bool isMonoMode() const { return monoMode.load(); }
    const std::shared_ptr<nodara::Driver>& getDriver() const { return driver; }

private:
    template <class Change>
    void betweenBlocks(std::atomic<bool>& failed, Change change);
    bool validIndex(vst2::VstInt32 index) const;
    void runBlock(float** inputs, float** outputs, vst2::VstInt32 frames);
    void guardInputs(vst2::VstInt32 frames);

    std::atomic<bool> changed{true};
    /// The host gave one input and one output.
    std::atomic<bool> monoBus{false};
    /// The Stereo control is below 0.5.
    std::atomic<bool> monoMode{true};
    /// A rate or a block size the driver could not take: its graphs may be half changed
    /// until that setting succeeds.
    std::atomic<bool> rateFailed{false};
    std::atomic<bool> blockSizeFailed{false};
    std::shared_ptr<nodara::Driver> driver;
    nodara::Driver::ControlList controls;
    std::vector<nodara::scalar*> driverInputs{nullptr, nullptr};
    /// The panel's view of this effect.
    class EditorLink;
    std::unique_ptr<EditorLink> editorLink;
    std::unique_ptr<TorvaneEditor> editor;
    vst2::ERect editorRect{};
    /// Where the driver copies its two outputs; null for one it need not copy.
    std::vector<nodara::scalar*> driverOutputs{nullptr, nullptr};
    /// Cleaned copies of the inputs, for blocks that hold unplayable samples; made once, so
    /// that no block allocates and no change of block size races a block.
    std::array<std::vector<float>, 2> cleanInputs{std::vector<float>(largestBlock),
                                                  std::vector<float>(largestBlock)};
};

} // namespace torvane
