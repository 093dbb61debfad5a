#pragma once

#include "dsp/resampling/CascadeLanes.h"
#include "runtime/Filter.h"

#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// What the interpolator and the decimator share: a cascade of identical low-pass stages
/// designed from the sample rate, and an integer rate `Factor` that a control may change at
/// run time, which moves the rates of every graph downstream through the driver.
///
/// Properties: CornerFrequency (Hz), Type ("Bessel", "Butterworth" or "BiQuad"), Order
/// (Bessel and Butterworth), Factor, optional Cascade (at least 2; one stage when absent);
/// Order, Factor and Cascade within the document limits.
/// Each stage is a BiQuad at order 2, an Iir otherwise. The stages stay silent until the
/// first sample rate arrives. BiQuad stages run side by side in vector lanes (CascadeLanes),
/// with the same bits as one after another; they then keep only the coefficients, and the
/// lanes the state.
class IirResampler : public Filter {
public:
    /// The stage family; 1 and 2 are also the design families.
    enum class Type : int32 { BiQuad = 0, Bessel = 1, Butterworth = 2 };

    using Filter::init;
    using Filter::process;
    using Filter::propertyChanged;
    /// "Factor": rounds it, and when the whole factor changes, sets the graph's rate ratio to it
    /// and tells the driver; the redesign follows at the head of the next block. Refuses a
    /// factor above the document limit (and one that is not a number).
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    scalar process(scalar in) override;
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    /// `sampleRate` is the rate at the input of the graph. Redesigns the stages, which keep
    /// their state; a corner at or above half the stages' rate leaves the old design.
    /// Allocates: at a rate change only.
    void setSampleRate(scalar sampleRate) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;
    void reset() override;

    int32 getFactor() const { return factor; }
    const std::vector<std::shared_ptr<Filter>>& getStages() const { return stages; }
    /// The stages in lanes; null when they are not all biquads.
    CascadeLanes* getLanes() { return lanes.get(); }

protected:
    IirResampler(const char* className, const char* stagePrefix);

    /// The corner relative to the rate at which the stages run.
    virtual scalar relativeCorner(scalar sampleRate) const = 0;
    /// The multiplier the graph takes for a factor of `value`.
    virtual double graphMultiplier(double value) const = 0;
    /// Hands the designed coefficients to the stages.
    virtual void installDesign(const std::shared_ptr<std::vector<scalar>>& a,
                               const std::shared_ptr<std::vector<scalar>>& b);
    /// Runs the stage chain over `frames` frames from `input`; returns the last stage's output.
    scalar* runStages(scalar* input, size_t frames);
    void checkFactor() const;
    void setStagesMaxBlockSize(int32 size);

    const char* className;
    const char* stagePrefix;
    Type type = Type::Butterworth;
    int32 order = 0;
    int32 factor = 1;
    scalar cornerFrequency = -1.0f;
    bool designEnabled = true;
    int32 cascade = 1;
    std::vector<std::shared_ptr<Filter>> stages;
    /// The BiQuad stages in lanes; null for Iir stages, which run one after another.
    std::unique_ptr<CascadeLanes> lanes;
    std::vector<scalar*> stageInput{nullptr};
    /// Interpolator: the zero-stuffed block. Decimator: the decimated output.
    std::unique_ptr<scalar[]> workBuffer;

private:
    void readSettings(const Properties& properties);
    void buildStages();
};

} // namespace nodara
