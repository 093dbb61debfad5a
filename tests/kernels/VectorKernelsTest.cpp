#include "KernelTestSupport.h"
#include "kernels/Kernels.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <xmmintrin.h>

namespace nodara::kernels {
namespace {

// Whole gangs of 4 and 8, every tail of 4 lanes and most of 8, and a long run.
const std::vector<int32> lengths = {0, 1, 2, 3, 6, 7, 8, 13, 813};

// Arrays start one float into their buffer, misaligned for every lane width, and end with a
// guard region no kernel may write.
constexpr std::size_t leading = 1, guard = 8;

std::vector<scalar> guarded(int32 n, unsigned seed) {
    return noise(leading + static_cast<std::size_t>(n) + guard, seed);
}

/// Integers from −4 to 4 in the layout of guarded().
std::vector<scalar> smallIntegers(int32 n, unsigned seed) {
    std::vector<scalar> values = guarded(n, seed);
    for (scalar& value : values) {
        value = std::round(4.0f * value);
    }
    return values;
}

constexpr scalar nan = std::numeric_limits<scalar>::quiet_NaN();

class VectorKernels : public EveryBuild {};
INSTANTIATE_TEST_SUITE_P(Builds, VectorKernels, vectorBuilds(), buildName);

// Products and partial sums of small integers are exact in any order, so a lost, repeated or
// stray frame shows as a difference from the plain loop. Random values must lie within the
// rounding of some summation order of the exact sum.
TEST_P(VectorKernels, DotEqualsPlainLoopOnIntegersAndTheExactSumWithinRounding) {
    for (int32 n : lengths) {
        const std::vector<scalar> a = smallIntegers(n, 1), b = smallIntegers(n, 2);
        const scalar* x = a.data() + leading;
        const scalar* y = b.data() + leading;
        EXPECT_EQ(build().dot(x, y, n), referenceBuild.dot(x, y, n)) << "n = " << n;

        const std::vector<scalar> c = guarded(n, 3), d = guarded(n, 4);
        double exact = 0.0, magnitudes = 0.0;
        for (std::size_t i = leading; i < leading + static_cast<std::size_t>(n); ++i) {
            exact += double(c[i]) * double(d[i]);
            magnitudes += std::fabs(double(c[i]) * double(d[i]));
        }
        EXPECT_NEAR(build().dot(c.data() + leading, d.data() + leading, n), exact,
                    (n + 1) * double(FLT_EPSILON) * magnitudes)
            << "n = " << n;
    }
}

TEST_P(VectorKernels, MultiplyAddAndScaleEqualPlainLoopAndWriteOnlyN) {
    for (int32 n : lengths) {
        const std::vector<scalar> x = guarded(n, 5);
        std::vector<scalar> y = guarded(n, 6), expected = y;
        build().multiplyAdd(n, -0.7f, x.data() + leading, y.data() + leading);
        referenceBuild.multiplyAdd(n, -0.7f, x.data() + leading, expected.data() + leading);
        build().scale(n, 1.5f, y.data() + leading);
        referenceBuild.scale(n, 1.5f, expected.data() + leading);
        EXPECT_EQ(bitsOf(y), bitsOf(expected)) << "n = " << n;
    }
}

// With denormals-are-zero, as the plug-in runs, a product by 1 would flush the denormals and
// quieten the signalling NaN.
TEST_P(VectorKernels, ScaleByOneLeavesNanAndDenormalsUntouched) {
    const std::vector<scalar> original = {std::bit_cast<scalar>(0x7f800001u), 1e-40f, -1e-39f,
                                          nan, 2.0f, 1e-40f};
    std::vector<scalar> y = original;
    const unsigned control = _mm_getcsr();
    _mm_setcsr(control | 0x8040u);
    build().scale(static_cast<int32>(y.size()), 1.0f, y.data());
    _mm_setcsr(control);
    EXPECT_EQ(bitsOf(y), bitsOf(original));
}

struct PivotCase {
    const char* what;
    std::vector<scalar> column;
    int32 start, end, expected;
};

TEST_P(VectorKernels, FindPivotCases) {
    const std::vector<PivotCase> cases = {
        {"a tie keeps the first", {2, -2, 1}, 0, 3, 0},
        {"rows outside start .. end are not searched", {9, 1, 2, 9}, 1, 3, 2},
        {"an empty range gives start", {1, 2}, 1, 1, 1},
        {"a NaN at start wins", {nan, 5}, 0, 2, 0},
        {"a later NaN is passed over", {1, nan, 2, nan}, 0, 4, 2},
        {"largest in the tail", {1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, -9}, 0, 13, 12},
        {"first of equal ones across gangs", {1, 0, 0, 0, 0, 7, 0, 0, 0, -7, 7}, 0, 11, 5},
    };
    for (const PivotCase& c : cases) {
        EXPECT_EQ(build().findPivot(c.column.data(), c.start, c.end), c.expected) << c.what;
        EXPECT_EQ(referenceBuild.findPivot(c.column.data(), c.start, c.end), c.expected) << c.what;
    }
}

// Few distinct values make ties common, and NaNs land at starts and inside ranges.
TEST_P(VectorKernels, FindPivotEqualsPlainLoopOnEveryRange) {
    std::mt19937 generator(8);
    std::uniform_int_distribution<int> distribution(-4, 4);
    for (int32 length = 1; length <= 40; ++length) {
        std::vector<scalar> column(static_cast<std::size_t>(length));
        for (scalar& value : column) {
            const int drawn = distribution(generator);
            value = drawn == 4 ? nan : static_cast<scalar>(drawn);
        }
        for (int32 start = 0; start < length; ++start) {
            for (int32 end = start + 1; end <= length; ++end) {
                ASSERT_EQ(build().findPivot(column.data(), start, end),
                          referenceBuild.findPivot(column.data(), start, end))
                    << "length " << length << ", rows " << start << " to " << end;
            }
        }
    }
}

TEST_P(VectorKernels, ExchangeRowsSwapsRowsAcrossAllColumnsAndThePermutation) {
    // Two columns of stride 3 hold the rows (1, 4) and (2, 5); 3 and 6 are padding.
    std::vector<scalar> a = {1, 2, 3, 4, 5, 6};
    std::vector<int32> ipiv = {0, 1};
    build().exchangeRows(2, a.data(), 3, ipiv.data(), 0, 1);
    EXPECT_EQ(a, (std::vector<scalar>{2, 1, 3, 5, 4, 6}));
    EXPECT_EQ(ipiv, (std::vector<int32>{1, 0}));
}

constexpr std::uint32_t sse2 = 1u << 26;   // leaf 1 EDX
constexpr std::uint32_t sse41 = 1u << 19;  // leaf 1 ECX
constexpr std::uint32_t avx = 1u << 28;    // leaf 1 ECX
constexpr std::uint32_t f16c = 1u << 29;   // leaf 1 ECX
constexpr std::uint32_t rdrand = 1u << 30; // leaf 1 ECX
constexpr std::uint32_t avx2 = 1u << 5;    // leaf 7 EBX
constexpr std::uint32_t avx512 = (1u << 16) | (1u << 17) | (1u << 30) | (1u << 31); // F DQ BW VL
constexpr std::uint64_t wideStates = 0xe6;  // XCR0: SSE, AVX, opmask and upper ZMM

TEST(InstructionSet, LevelFollowsTheIdentificationBits) {
    const std::vector<std::pair<ProcessorIdentification, int32>> cases = {
        {{0, 0, 0}, levelUnknown},
        {{sse41, 0, 0}, levelSse4}, // SSE4.1 is asked before SSE2
        {{0, sse2, 0}, levelSse2},
        {{avx | sse41, sse2, avx2}, levelAvx},
        {{avx | f16c, sse2, avx2}, levelAvx},
        {{avx | f16c | rdrand, sse2, 0}, levelAvxF16cRdrand},
        {{avx | f16c | rdrand, sse2, avx2}, levelAvx2},
        {{avx | f16c | rdrand, sse2, avx2 | avx512, wideStates}, levelAvx512},
        {{avx | f16c | rdrand, sse2, avx2 | avx512, 0x6}, levelAvx2}, // ZMM state not saved
        {{avx | f16c | rdrand, sse2, avx2 | (1u << 16), wideStates}, levelAvx2}, // F alone
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
        if (!__builtin_cpu_supports("avx2")) {
            return levelAvxF16cRdrand;
        }
        const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                            __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
        return avx512 ? levelAvx512 : levelAvx2;
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
