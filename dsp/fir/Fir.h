#pragma once

#include "dsp/fir/FourLaneDot.h"
#include "runtime/Filter.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// A direct-form finite filter of at most 256 taps: y[n] = Σ h[k]·x[n − k].
///
/// The taps are held in groups of four in reverse time order, padded with zeros behind h's
/// last tap, so a frame is one dot product (fir::dot, with its fixed order of additions) of
/// the groups with the window of history that ends at that frame. The history keeps the
/// 4·groups − 1 frames before each block.
///
/// Properties: optional Coefficients ("|" list, h[0] first); no taps give silence. The vector
/// property "Coefficients" replaces the taps while running and keeps the history.
///
/// Threads: `init` and `setMaxBlockSize` (allocates) while building or at a rate change; the
/// rest on the audio thread, without allocation.
class Fir : public BufferedFilter {
public:
    static constexpr int32 maxTaps = 256;

    Fir() : BufferedFilter("Fir") {}

    using BufferedFilter::process;
    using BufferedFilter::propertyChanged;
    using Filter::init;
    /// "Coefficients" only.
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// `count` taps, h[0] first; more than 256 or a null pointer throw. Keeps the history.
    virtual void setCoefficients(const scalar* taps, size_t count);
    /// Into the filter's own buffer, which must hold the block's output.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// In place is allowed.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame, int32 iteration) override;
    /// Commits the latest pass and moves the history on by one frame.
    size_t endIteration(size_t frame) override;
    /// Grows the history (cleared) and the output buffer. Allocates.
    void setMaxBlockSize(int32 maxBlockSize) override;
    /// Clears the history.
    void reset() override;

    int32 getNumberOfGroups() const { return groups; }

protected:
    /// Output frames of an input block of `frames`.
    virtual size_t outputFramesFor(size_t frames) const { return frames; }
    void readCoefficients(const Properties& properties);
    /// Refuses a block the history or the size cannot take.
    void checkBlock(size_t frames) const;
    /// Copies `in` behind the kept frames; frame i of the block then stands at
    /// history[kept + i].
    const scalar* takeBlock(const scalar* in, size_t frames);
    /// Drops the oldest `frames`, so that the newest `kept` frames lead the history.
    void advance(size_t frames);
    /// Keeps `frames` past frames from now on; those kept so far stay the newest.
    void keepFrames(int32 frames);

    std::array<fir::TapGroup, maxTaps / 4> taps{};
    int32 groups = 0;
    /// maxBlockSize + 256 frames: the kept past, then the block.
    std::unique_ptr<scalar[]> history;
    int32 kept = 0;
    size_t outputCapacity = 0;
};

} // namespace nodara
