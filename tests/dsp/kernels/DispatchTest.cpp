#include "KernelTestSupport.h"

#include "dsp/kernels/Kernels.h"

namespace nodara::kernels {
namespace {

constexpr std::uint32_t sse2 = 1u << 26;   // leaf 1 EDX
constexpr std::uint32_t sse41 = 1u << 19;  // leaf 1 ECX
constexpr std::uint32_t avx = 1u << 28;    // leaf 1 ECX
constexpr std::uint32_t f16c = 1u << 29;   // leaf 1 ECX
constexpr std::uint32_t rdrand = 1u << 30; // leaf 1 ECX
constexpr std::uint32_t avx2 = 1u << 5;    // leaf 7 EBX

TEST(InstructionSet, LevelFollowsTheIdentificationBits) {
    const std::vector<std::pair<ProcessorIdentification, int32>> cases = {
        {{0, 0, 0}, levelUnknown},
        {{sse41, 0, 0}, levelSse4}, // SSE4.1 is asked before SSE2
        {{0, sse2, 0}, levelSse2},
        {{avx | sse41, sse2, avx2}, levelAvx},
        {{avx | f16c, sse2, avx2}, levelAvx},
        {{avx | f16c | rdrand, sse2, 0}, levelAvxF16cRdrand},
        {{avx | f16c | rdrand, sse2, avx2}, levelAvx2},
        {{f16c | rdrand | sse41, sse2, avx2}, levelSse4},
        {{~(avx | sse41), ~sse2, ~avx2}, levelUnknown},
    };
    for (const auto& [identification, level] : cases) {
        EXPECT_EQ(levelFor(identification), level)
            << std::hex << identification.leaf1Ecx << " " << identification.leaf1Edx << " "
            << identification.leaf7Ebx;
    }
}

// The compiler's runtime reads the same registers on its own.
int32 levelFromCompilerRuntime() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx")) {
        if (!__builtin_cpu_supports("f16c") || !__builtin_cpu_supports("rdrnd")) {
            return levelAvx;
        }
        return __builtin_cpu_supports("avx2") ? levelAvx2 : levelAvxF16cRdrand;
    }
    return __builtin_cpu_supports("sse4.1") ? levelSse4 : levelSse2;
}

TEST(InstructionSet, DetectedLevelMatchesThisProcessor) {
    EXPECT_EQ(instructionSetLevel(), levelFromCompilerRuntime());
}

TEST(InstructionSet, LevelsTwoToFourRunTheAvxBuild) {
    EXPECT_EQ(&buildForLevel(levelSse2), &sse2Build);
    EXPECT_EQ(&buildForLevel(levelSse4), &sse4Build);
    for (int32 level : {levelAvx, levelAvxF16cRdrand, levelAvx2}) {
        EXPECT_EQ(&buildForLevel(level), &avxBuild) << level;
    }
}

// The builds add the lanes of 813 frames in different orders, so the last bits of the dot
// product tell which one ran.
TEST(Dispatch, DotRunsTheBuildOfTheDetectedLevel) {
    constexpr int32 n = 813;
    const std::vector<scalar> a = noise(n, 11), b = noise(n, 12);
    const KernelBuild& expected = buildForLevel(instructionSetLevel());
    EXPECT_EQ(std::bit_cast<std::uint32_t>(dot(a.data(), b.data(), n)),
              std::bit_cast<std::uint32_t>(expected.dot(a.data(), b.data(), n)));
}

} // namespace
} // namespace nodara::kernels
