#pragma once

#include "runtime/ChainedFilter.h"
#include "runtime/Filter.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace torvane {

using nodara::ChainedFilter;
using nodara::DSPContext;
using nodara::Filter;
using nodara::int32;
using nodara::Properties;
using nodara::scalar;

/// Solves a feedback loop around non-linear elements within each sample: the output y of
/// y = F(x − B(y)), with F the forward chain and B the feedback chain, by Newton's method on
/// f(y) = y − F(x − B(y)), whose derivative is 1 + ∏ F′·∏ B′ by the chain rule. Each chain
/// element has a derivative element beside it that gives its slope at the same input.
///
/// Per sample, from the last sample's estimate: step = relaxation · f(y) / f′(y), next =
/// y − step, until |step| ≤ |next|·RelativeError and |f(y)| ≤ AbsoluteError, or
/// MaxIterations passes. The output is `next` before it is limited to [MinValue, MaxValue];
/// the limited value starts the next pass. The loop always subtracts the feedback: the
/// FeedbackType is stored only.
///
/// Properties: RelativeError, AbsoluteError, MaxIterations (required), Relaxation (1),
/// MaxValue (1e15), MinValue (−1e15), FeedbackType ("Negative" or "Positive", required).
/// A document gives the chains as the child lists Forward, ForwardDerivative, Feedback and
/// FeedbackDerivative; a derivative list must be as long as its chain.
///
/// Threads: building for init and the chains; the rest on the audio thread, where only a
/// scalar property of a new name allocates.
class Newton : public nodara::BufferedFilter, public ChainedFilter {
public:
    Newton() : BufferedFilter("Newton") {}

    using BufferedFilter::process;
    using BufferedFilter::propertyChanged;
    using Filter::init;
    /// "MaxIterations" sets the limit; any other name is kept by name.
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    scalar process(scalar in) override;
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    /// Passed on to every chain element.
    void setSampleRate(scalar sampleRate) override;
    /// Passed on to every chain element, whose outputs take each solved frame.
    void setMaxBlockSize(int32 maxBlockSize) override;
    /// Resets the chain elements; the estimate starts from 0 again.
    void reset() override;

    void addForward(const std::shared_ptr<Filter>& filter);
    void addForwardDerivative(const std::shared_ptr<Filter>& filter);
    void addFeedback(const std::shared_ptr<Filter>& filter);
    void addFeedbackDerivative(const std::shared_ptr<Filter>& filter);
    const std::vector<std::shared_ptr<Filter>>& getForward() const { return forward; }
    const std::vector<std::shared_ptr<Filter>>& getForwardDerivative() const {
        return forwardDerivative;
    }

    const std::vector<std::string>& getChainNames() const override;
    void addToChain(const std::string& chain, const std::shared_ptr<Filter>& filter) override;
    void checkChains() const override;

    const std::map<std::string, scalar>& getValues() const { return values; }

private:
    using Chain = std::vector<std::shared_ptr<Filter>>;
    /// One pass through `chain`: value becomes the chain's output, step takes the product of
    /// the slopes.
    void runChain(const Chain& chain, const Chain& derivative, size_t frame, int32 pass);
    scalar solve(scalar in, size_t frame);
    void commit(size_t frame);
    std::array<Chain*, 4> allChains();

    Chain forward;
    Chain forwardDerivative;
    Chain feedback;
    Chain feedbackDerivative;
    /// The value handed along a chain.
    IterationResults value = std::make_shared<std::vector<scalar>>(1, 0.0f);
    scalar error = 0.0f;
    scalar denominator = 0.0f;
    scalar next = 0.0f;
    /// The solution so far; it starts the next sample.
    scalar estimate = 0.0f;
    scalar step = 0.0f;
    scalar convergence = 0.0f;
    scalar relativeError = 0.0f;
    scalar absoluteError = 0.0f;
    scalar relaxation = 1.0f;
    scalar maxValue = 1e15f;
    scalar minValue = -1e15f;
    int32 maxIterations = 10;
    /// 1 for "Negative", 0 for "Positive"; the loop subtracts either way.
    int32 feedbackType = 1;
    std::map<std::string, scalar> values;
};

} // namespace torvane
