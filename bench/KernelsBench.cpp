#include "kernels/KernelBuilds.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace nodara::kernels {
namespace {

void dotOf(benchmark::State& state, const KernelBuild* build) {
    const auto n = static_cast<int32>(state.range(0));
    const std::vector<scalar> a(static_cast<std::size_t>(n), 0.5f);
    const std::vector<scalar> b(static_cast<std::size_t>(n), 0.25f);
    for (auto _ : state) {
        benchmark::DoNotOptimize(build->dot(a.data(), b.data(), n));
    }
}

// Only builds this processor can run are registered; the plain loop is the baseline. 9 frames
// is a gang and a tail, 256 a typical block.
bool registerDotBenchmarks() {
    std::vector<const KernelBuild*> builds = supportedVectorBuilds();
    builds.insert(builds.begin(), &referenceBuild);
    for (const KernelBuild* build : builds) {
        const std::string name = std::string("Dot/") + build->name;
        benchmark::RegisterBenchmark(name.c_str(), dotOf, build)->Arg(9)->Arg(256);
    }
    return true;
}

[[maybe_unused]] const bool dotBenchmarksRegistered = registerDotBenchmarks();

} // namespace
} // namespace nodara::kernels
