#include "dsp/convolution/RealFft.h"

#include "kernels/AlignedFloats.h"

#include <fftw3.h>

#include <map>
#include <mutex>

namespace nodara {

namespace {

// Measured plans: the planner times candidate algorithms on the machine it runs on instead of
// guessing. Plans are made only when a response, a rate or a block size changes, never while
// processing, and the planner learns each size once per process. The limit keeps a plan near a
// tenth of a second (unlimited, a large size takes over a second); the bits of the output may
// then differ from run to run within the rounding of the transforms.
constexpr unsigned plannerFlags = FFTW_MEASURE;
constexpr double plannerSecondsPerPlan = 0.1;

fftwf_complex* asComplex(float* spectrum) { return reinterpret_cast<fftwf_complex*>(spectrum); }

} // namespace

/// The planner's lock and the live instances by size.
struct RealFft::Registry {
    std::mutex planner;
    std::map<std::uint32_t, std::weak_ptr<const RealFft>> bySize;
};

const std::shared_ptr<RealFft::Registry>& RealFft::sharedRegistry() {
    static const auto instance = std::make_shared<Registry>();
    return instance;
}

struct RealFft::Plans {
    fftwf_plan forward = nullptr;
    fftwf_plan backward = nullptr;
};

// Called with the planner locked. The plans are made on scratch arrays with the alignment of
// the arrays they will run on, as the new-array execute functions require.
RealFft::RealFft(std::uint32_t size, std::shared_ptr<Registry> registry)
    : points(size), plans(std::make_unique<Plans>()), registry(std::move(registry)) {
    AlignedFloats time = makeAlignedFloats(size);
    AlignedFloats spectrum = makeAlignedFloats(size + 2);
    const int n = static_cast<int>(size);
    fftwf_set_timelimit(plannerSecondsPerPlan);
    plans->forward = fftwf_plan_dft_r2c_1d(n, time.get(), asComplex(spectrum.get()), plannerFlags);
    plans->backward = fftwf_plan_dft_c2r_1d(n, asComplex(spectrum.get()), time.get(), plannerFlags);
}

RealFft::~RealFft() {
    Registry& shared = *registry;
    std::lock_guard lock(shared.planner);
    fftwf_destroy_plan(plans->forward);
    fftwf_destroy_plan(plans->backward);
    // Another thread may already have made a successor of this size.
    if (auto entry = shared.bySize.find(points);
        entry != shared.bySize.end() && entry->second.expired()) {
        shared.bySize.erase(entry);
    }
}

std::shared_ptr<const RealFft> RealFft::ofSize(std::uint32_t size) {
    const std::shared_ptr<Registry>& owner = sharedRegistry();
    Registry& shared = *owner;
    std::lock_guard lock(shared.planner);
    std::weak_ptr<const RealFft>& entry = shared.bySize[size];
    std::shared_ptr<const RealFft> transforms = entry.lock();
    if (!transforms) {
        transforms.reset(new RealFft(size, owner));
        entry = transforms;
    }
    return transforms;
}

void RealFft::forward(const float* time, float* spectrum) const {
    // An out-of-place real-to-complex transform leaves its input alone.
    fftwf_execute_dft_r2c(plans->forward, const_cast<float*>(time), asComplex(spectrum));
}

void RealFft::backward(float* spectrum, float* time) const {
    fftwf_execute_dft_c2r(plans->backward, asComplex(spectrum), time);
}

} // namespace nodara
