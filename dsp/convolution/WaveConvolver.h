#pragma once

#include "dsp/convolution/Convolver.h"
#include "runtime/Filter.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// The loudspeaker-cabinet stage. Picks response `Selected` out of the names in
/// `ImpulseResponses`, fetches it from memory, a WAV file or an embedded resource, brings it
/// to the running rate, drops its silent tail, cuts it to `MaxIRSize` samples after its silent
/// head (a pre-delay is not counted), removes its mean when
/// `Scale` is set (DC blocking; the level is `Gain`'s), multiplies it by `Gain` and hands it
/// to an inner Convolver, which does all the audio.
///
/// Properties: ImpulseResponses ("|" list), Location ("Memory", "File" or "Dll"),
/// MaxIRSize, optional Selected (0), Scale (false), Gain (1), DllResourceType (for "Dll").
/// Nothing is loaded before the first rate is known.
class WaveConvolver : public Filter {
public:
    enum Location { Memory = 0, File = 1, Dll = 2 };

    using Filter::process;

    /// Keeps `samples` at `sampleRate` (hertz) under `name` for "Memory", shared, never
    /// changed; replaces an earlier entry; does not load. Not while processing; allocates.
    void addImpulseResponse(const std::string& name, scalar sampleRate,
                            const std::shared_ptr<std::vector<scalar>>& samples);

    /// "Selected": rounds the value and loads that response. Not while processing; reads,
    /// resamples and allocates. Other names are ignored.
    void propertyChanged(const std::string& name, scalar value) override;
    /// Ignored.
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& value) override;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;

    /// A rate other than the present one reloads the response and clears past input. Not
    /// while processing; reads, resamples and allocates.
    void setSampleRate(scalar rate) override;
    /// Audio thread; allocates nothing.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;

    IterationResults& iteration(const IterationResults& in, size_t frame, int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;

    /// Not while processing; allocates.
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override;
    void reset() override;
    void settle(const std::vector<scalar*>& in, size_t frames) override;

    const Convolver& getConvolver() const { return convolver; }
    int32 getSelected() const { return selected; }

private:
    void loadImpulseResponse();
    std::vector<scalar> fetchSamples();
    std::vector<scalar> fetchFromMemory(const std::string& name);
    std::vector<scalar> fetchFromFile(const std::string& name);
    std::vector<scalar> fetchFromResource(const std::string& name);
    std::vector<scalar> atRunningRate(std::vector<scalar> samples, scalar rate) const;
    void condition(std::vector<scalar>& samples) const;

    Convolver convolver;
    std::string dllResourceType;
    bool scale = false;
    Location location = Memory;
    int32 selected = 0;
    scalar sampleRate = 0.0f;
    scalar gain = 1.0f;
    /// The document's MaxIRSize.
    int32 maxIRSize = 0;
    std::map<std::string, scalar> rates;
    std::map<std::string, std::shared_ptr<std::vector<scalar>>> responses;
    std::vector<std::string> names;
};

} // namespace nodara
