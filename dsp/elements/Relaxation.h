#pragma once

#include "runtime/Filter.h"

namespace nodara {

/// Under-relaxes a value in an iterated feedback loop: y = (1 − r)·previous + r·x.
/// With Extrapolate, the committed value predicts the next frame linearly. It has no buffer
/// and works only in an Iterative graph.
class Relaxation : public Filter {
public:
    using Filter::process;
    using Filter::init;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Returns 0 and does nothing.
    scalar process(scalar in) override;
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    IterationResults& getLastIterationResults() override { return iterationResult; }
    size_t endIteration(size_t frame) override;
    /// Does nothing: there is no buffer.
    void setMaxBlockSize(int32) override {}
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override;
    /// Clears the previous value only.
    void reset() override { previous = 0.0f; }
    void setRelaxation(scalar value) { relaxation = value; }

private:
    [[noreturn]] void refuseBlocks() const;

    scalar relaxation = 1.0f;
    scalar previous = 0.0f;
    scalar older = 0.0f;
    bool extrapolate = false;
    IterationResults iterationResult = std::make_shared<std::vector<scalar>>(1, 0.0f);
};

} // namespace nodara
