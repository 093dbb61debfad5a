#pragma once

#include "kernels/InstructionSet.h"
#include "kernels/KernelBuilds.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
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

using nodara::testing::noise;

/// Bit patterns, so that comparisons are exact and NaNs compare by payload.
inline std::vector<std::uint32_t> bitsOf(const std::vector<scalar>& values) {
    std::vector<std::uint32_t> bits;
    for (scalar value : values) {
        bits.push_back(std::bit_cast<std::uint32_t>(value));
    }
    return bits;
}

} // namespace nodara::kernels
