#pragma once

#include "dsp/kernels/InstructionSet.h"
#include "dsp/kernels/KernelBuilds.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

namespace nodara::kernels {

/// Fixture of tests run once per build; a build this processor cannot run is skipped.
class EveryBuild : public ::testing::TestWithParam<const KernelBuild*> {
protected:
    void SetUp() override {
        if (GetParam()->minimumLevel > instructionSetLevel()) {
            GTEST_SKIP() << GetParam()->name << " is beyond this processor";
        }
    }
    const KernelBuild& build() const { return *GetParam(); }
};

inline auto vectorBuilds() { return ::testing::Values(&sse2Build, &sse4Build, &avxBuild); }
inline auto allBuilds() {
    return ::testing::Values(&referenceBuild, &sse2Build, &sse4Build, &avxBuild);
}
inline std::string buildName(const ::testing::TestParamInfo<const KernelBuild*>& info) {
    return info.param->name;
}

/// Uniform values in [−1, 1] from a fixed seed.
inline std::vector<scalar> randomValues(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<scalar> distribution(-1.0f, 1.0f);
    std::vector<scalar> values(count);
    for (scalar& value : values) {
        value = distribution(generator);
    }
    return values;
}

/// Bit patterns, so that comparisons are exact and NaNs compare by payload.
inline std::vector<std::uint32_t> bitsOf(const std::vector<scalar>& values) {
    std::vector<std::uint32_t> bits;
    for (scalar value : values) {
        bits.push_back(std::bit_cast<std::uint32_t>(value));
    }
    return bits;
}

} // namespace nodara::kernels
