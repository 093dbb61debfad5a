#pragma once

#include "runtime/Exceptions.h"
#include "runtime/Filter.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// A recursive filter of a fixed order N, with the feedback subtracted:
///   y[n] = b0·x[n] + b1·x[n−1] + … + bN·x[n−N] − a1·y[n−1] − … − aN·y[n−N]
/// summed in exactly this order in single precision, so that every build gives the same bits.
/// The first N samples of a block run through the state, the rest directly on the arrays.
///
/// A properties handler that needs per-sample updates recomputes the coefficients before each
/// sample from the input and the last output; the filter runs ahead on the coefficients in
/// force as far as the handler vouches for them, with the same bits. Coefficient changes keep
/// the state.
template <int N>
class FixedOrderIIR : public BufferedFilter {
public:
    using BufferedFilter::process;
    using BufferedFilter::propertyChanged;
    /// "A" (N values) or "B" (N + 1 values); takes effect at the next sample.
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& values) override;
    scalar process(scalar in) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// `in` and `out` must be distinct arrays.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    size_t endIteration(size_t frame) override;
    void reset() override;
    /// At once: the state of a constant input held for ever, y = x·Σb / (1 + Σa), also when a
    /// coupling network's time constant is far longer than any settling run could afford.
    void settle(const std::vector<scalar*>& in, size_t frames) override;
    /// N feedback and N + 1 feed-forward coefficients; touches no state.
    void setCoefficients(const scalar* a, const scalar* b);

    /// The last output, y[n−1].
    scalar getLastOutput() const { return y[0]; }
    const std::array<scalar, N>& getA() const { return a; }
    const std::array<scalar, N + 1>& getB() const { return b; }
    /// x[n−1] .. x[n−N] and y[n−1] .. y[n−N].
    const std::array<scalar, N>& getInputState() const { return x; }
    const std::array<scalar, N>& getOutputState() const { return y; }
    /// The state after a block run elsewhere on this filter's coefficients; cleared, as at the
    /// end of `process`, when not finite.
    void restoreState(const std::array<scalar, N>& inputs, const std::array<scalar, N>& outputs) {
        x = inputs;
        y = outputs;
        clearIfNotFinite();
    }

protected:
    FixedOrderIIR(const char* className, const char* outputIndexClassName)
        : BufferedFilter(className, outputIndexClassName) {}

    /// Reads the document lists "A" and "B" and checks their lengths.
    void readCoefficients(const Properties& properties, bool singleValueA);
    void clearState();
    /// Clears the state when a value in it is not finite.
    void clearIfNotFinite();
    /// The output for the input `in` held for ever; 0 where the filter has no steady state.
    scalar steadyOutput(scalar in) const;

    std::array<scalar, N> a{};
    std::array<scalar, N + 1> b{};
    /// x[n−1] .. x[n−N] and y[n−1] .. y[n−N].
    std::array<scalar, N> x{};
    std::array<scalar, N> y{};
    /// The iteration's input and the part of its sum that depends only on the past.
    scalar currentInput = 0.0f;
    scalar partialSum = 0.0f;

private:
    scalar step(scalar in);
    /// The array form without its checks: `frames` samples on the coefficients in force.
    void run(const scalar* in, scalar* out, size_t frames);
    void updateStateFromBlock(const scalar* in, const scalar* out, size_t frames);
    /// The handler's form: each sample on the coefficients `update` would give it.
    void runHandled(const scalar* in, scalar* out, size_t frames);
    /// The state after the first `frames` samples of a stretch that began in state
    /// `pastX`, `pastY`.
    void rewind(const std::array<scalar, N>& pastX, const std::array<scalar, N>& pastY,
                const scalar* in, const scalar* out, size_t frames);

    /// How many samples the handler's form runs ahead before it asks the handler.
    size_t lookAhead = shortestLookAhead;
    static constexpr size_t shortestLookAhead = 8;
    static constexpr size_t longestLookAhead = 1024;
};

extern template class FixedOrderIIR<1>;
extern template class FixedOrderIIR<2>;
extern template class FixedOrderIIR<3>;

} // namespace nodara
