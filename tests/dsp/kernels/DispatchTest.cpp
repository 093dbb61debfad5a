#include "KernelTestSupport.h"

#include "dsp/kernels/Kernels.h"

#include <string>

namespace nodara::kernels {
namespace {

constexpr std::uint32_t sse2 = 1u << 26;   // leaf 1 EDX
constexpr std::uint32_t sse41 = 1u << 19;  // leaf 1 ECX
constexpr std::uint32_t avx = 1u << 28;    // leaf 1 ECX
constexpr std::uint32_t f16c = 1u << 29;   // leaf 1 ECX
constexpr std::uint32_t rdrand = 1u << 30; // leaf 1 ECX
constexpr std::uint32_t avx2 = 1u << 5;    // leaf 7 EBX

struct LevelCase {
    const char* what;
    ProcessorIdentification identification;
    int32 level;
};

TEST(InstructionSet, LevelFollowsTheIdentificationBits) {
    const std::vector<LevelCase> cases = {
        {"nothing known", {0, 0, 0}, levelUnknown},
        {"SSE4.1 without SSE2 still counts", {sse41, 0, 0}, levelSse4},
        {"SSE2 only", {0, sse2, 0}, levelSse2},
        {"SSE4.1", {sse41, sse2, 0}, levelSse4},
        {"AVX without F16C and RDRAND", {avx | sse41, sse2, avx2}, levelAvx},
        {"AVX with F16C only", {avx | f16c, sse2, avx2}, levelAvx},
        {"AVX with F16C and RDRAND", {avx | f16c | rdrand, sse2, 0}, levelAvxF16cRdrand},
        {"AVX2", {avx | f16c | rdrand, sse2, avx2}, levelAvx2},
        {"F16C and RDRAND without AVX", {f16c | rdrand | sse41, sse2, avx2}, levelSse4},
        {"other bits are ignored", {~(avx | sse41), ~sse2, ~avx2}, levelUnknown},
    };
    for (const LevelCase& c : cases) {
        EXPECT_EQ(levelFor(c.identification), c.level) << c.what;
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
    EXPECT_EQ(instructionSetLevel(), levelFor(identifyProcessor()));
}

TEST(InstructionSet, LevelsTwoToFourRunTheAvxBuild) {
    const std::vector<std::pair<int32, const KernelBuild*>> cases = {
        {levelSse2, &sse2Build}, {levelSse4, &sse4Build}, {levelAvx, &avxBuild},
        {levelAvxF16cRdrand, &avxBuild}, {levelAvx2, &avxBuild}};
    for (const auto& [level, build] : cases) {
        EXPECT_EQ(&buildForLevel(level), build) << "level " << level;
    }
}

// Each dispatcher must reach its own kernel in the build of the detected level; the dot product
// of 813 frames tells the builds apart by its last bits.
TEST(Dispatch, VectorDispatchersRunTheDetectedBuild) {
    const KernelBuild& expected = buildForLevel(instructionSetLevel());
    constexpr int32 n = 813;
    const std::vector<scalar> a = randomValues(n, 11), b = randomValues(n, 12);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(dot(a.data(), b.data(), n)),
              std::bit_cast<std::uint32_t>(expected.dot(a.data(), b.data(), n)));
    EXPECT_EQ(findPivot(a.data(), 0, n), expected.findPivot(a.data(), 0, n));

    std::vector<scalar> y = b, z = b;
    multiplyAdd(n, 0.5f, a.data(), y.data());
    expected.multiplyAdd(n, 0.5f, a.data(), z.data());
    saxpy(n, -2.0f, a.data(), y.data());
    expected.multiplyAdd(n, -2.0f, a.data(), z.data());
    scale(n, 3.0f, y.data());
    expected.scale(n, 3.0f, z.data());
    EXPECT_EQ(bitsOf(y), bitsOf(z));
}

TEST(Dispatch, MatrixDispatchersRunTheDetectedBuild) {
    const KernelBuild& expected = buildForLevel(instructionSetLevel());
    constexpr int32 n = 6;
    std::vector<scalar> a = randomValues(n * n, 13), aExpected = a;
    std::vector<int32> ipiv = {0, 1, 2, 3, 4, 5}, ipivExpected = ipiv;
    exchangeRows(n, a.data(), n, ipiv.data(), 1, 4);
    expected.exchangeRows(n, aExpected.data(), n, ipivExpected.data(), 1, 4);
    EXPECT_EQ(bitsOf(a), bitsOf(aExpected));
    EXPECT_EQ(ipiv, ipivExpected);

    ASSERT_EQ(ludcmp(n, a.data(), n, ipiv.data()), 0);
    ASSERT_EQ(expected.ludcmp(n, aExpected.data(), n, ipivExpected.data()), 0);
    EXPECT_EQ(bitsOf(a), bitsOf(aExpected));
    EXPECT_EQ(ipiv, ipivExpected);

    const std::vector<scalar> b = randomValues(n, 14);
    std::vector<scalar> x(n), xExpected(n);
    EXPECT_EQ(lubksb(n, a.data(), n, ipiv.data(), b.data(), x.data()), 0);
    expected.lubksb(n, a.data(), n, ipiv.data(), b.data(), xExpected.data());
    EXPECT_EQ(bitsOf(x), bitsOf(xExpected));
}

TEST(Dispatch, ScaleByOneLeavesNanAndDenormalsUntouched) {
    const std::vector<scalar> original = {std::bit_cast<scalar>(0x7f800001u), 1e-40f, -1e-39f};
    std::vector<scalar> y = original;
    scale(static_cast<int32>(y.size()), 1.0f, y.data());
    EXPECT_EQ(bitsOf(y), bitsOf(original));
}

} // namespace
} // namespace nodara::kernels
