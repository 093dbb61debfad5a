#pragma once

#include "runtime/Filter.h"

#include <memory>
#include <vector>

namespace nodara {

/// A recursive filter of any order, on the dot-product kernel:
///   y[n] = Σ b[k]·x[n−k] − Σ a[k]·y[n−1−k]
/// The coefficients are stored reversed, so that a forward dot product against a history in
/// time order gives the convolution. The difference of the two sums is formed in double.
/// Properties "Order", "A" (Order values) and "B" (Order + 1 values).
class Iir : public BufferedFilter {
public:
    Iir() : BufferedFilter("Iir") {}

    using BufferedFilter::process;
    using BufferedFilter::propertyChanged;
    /// "Order" only, rounded to the nearest integer.
    void propertyChanged(const std::string& name, scalar value) override;
    /// "A" or "B".
    void propertyChanged(const std::string& name,
                         const std::shared_ptr<std::vector<scalar>>& values) override;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Returns 0 and does not advance the filter.
    scalar process(scalar in) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    /// Runs the block into the filter's own buffer and returns it.
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    /// `in` and `out` must be distinct arrays.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    void setSampleRate(scalar) override {}
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    size_t endIteration(size_t frame) override;
    /// At once, as the fixed orders: y = x·Σb / (1 + Σa).
    void settle(const std::vector<scalar*>& in, size_t frames) override;
    /// Growing the block size loses the state.
    void setMaxBlockSize(int32 maxBlockSize) override;
    void reset() override;

    /// A change of order loses the state; the coefficients must then be set again.
    void setOrder(int32 order);
    void setA(const std::vector<scalar>& values);
    void setB(const std::vector<scalar>& values);
    int32 getTaps() const { return taps; }

private:
    void allocateHistories();
    /// Clears the histories when a value in them is not finite.
    void clearIfNotFinite();
    void checkCoefficientLengths() const;
    /// y at history position `at`, from the T inputs and T − 1 outputs before it.
    scalar historyOutput(size_t at) const;

    int32 taps = 0;
    std::vector<scalar> reversedA;
    std::vector<scalar> reversedB;
    /// x history then y history, each maxBlockSize + taps − 1 values, oldest first.
    std::vector<scalar> xHistory;
    std::vector<scalar> yHistory;
};

} // namespace nodara
