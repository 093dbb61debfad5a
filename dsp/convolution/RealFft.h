#pragma once

#include <cstdint>
#include <memory>

namespace nodara {

/// Unnormalised real transforms of one size: forward then backward multiplies by size().
/// One instance per size exists in the process at a time, shared by all its users, because
/// plans are costly to make and the planner may only run on one thread at a time.
///
/// Arrays passed to `forward` and `backward` must be 64-byte aligned (makeAlignedFloats).
/// A spectrum holds size()/2 + 1 complex values as interleaved (real, imaginary) floats.
/// Execution is thread-safe and allocates nothing.
class RealFft {
public:
    /// The transforms of `size` points, planned on first use by measurement (up to a few
    /// tenths of a second). Any thread; waits for the planner; allocates. Not while processing.
    static std::shared_ptr<const RealFft> ofSize(std::uint32_t size);

    /// `spectrum` = DFT of `time`; `time` is left as it was.
    void forward(const float* time, float* spectrum) const;
    /// `time` = size() × inverse DFT of `spectrum`; `spectrum` is overwritten.
    void backward(float* spectrum, float* time) const;

    std::uint32_t size() const { return points; }
    /// Floats in a spectrum of this size.
    std::uint32_t spectrumFloats() const { return points + 2; }

    RealFft(const RealFft&) = delete;
    RealFft& operator=(const RealFft&) = delete;
    /// Waits for the planner: destroying a plan is planner work too.
    ~RealFft();

private:
    struct Plans;
    struct Registry;
    RealFft(std::uint32_t size, std::shared_ptr<Registry> registry);
    static const std::shared_ptr<Registry>& sharedRegistry();

    std::uint32_t points;
    std::unique_ptr<Plans> plans;
    /// Held by every instance, so that the last one to go still finds the planner's lock.
    std::shared_ptr<Registry> registry;
};

} // namespace nodara
