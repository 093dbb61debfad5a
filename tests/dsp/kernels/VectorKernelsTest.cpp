#include "KernelTestSupport.h"

#include "dsp/kernels/Kernels.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <xmmintrin.h>

namespace nodara::kernels {
namespace {

// Whole gangs of 4 and 8, tails of 1 to 3 frames for 4 lanes and of 1, 2, 3, 5, 6, 7 for 8,
// and a long run.
const std::vector<int32> lengths = {0, 1, 2, 3, 6, 7, 8, 13, 813};

// Arrays start one float into their buffer, so they are misaligned for every lane width, and
// end with a guard region that no kernel may write.
constexpr std::size_t leading = 1;
constexpr std::size_t guard = 8;

std::vector<scalar> guardedValues(int32 n, unsigned seed) {
    return randomValues(leading + static_cast<std::size_t>(n) + guard, seed);
}

std::vector<scalar> smallIntegers(int32 n, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_int_distribution<int> distribution(-4, 4);
    std::vector<scalar> values(leading + static_cast<std::size_t>(n));
    for (scalar& value : values) {
        value = static_cast<scalar>(distribution(generator));
    }
    return values;
}

/// Sets flush-to-zero and denormals-are-zero, as the plug-in runs, for one scope.
class FlushDenormals {
public:
    FlushDenormals() : saved(_mm_getcsr()) { _mm_setcsr(saved | 0x8040u); }
    ~FlushDenormals() { _mm_setcsr(saved); }
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;

private:
    unsigned saved;
};

class VectorKernels : public EveryBuild {};

INSTANTIATE_TEST_SUITE_P(Builds, VectorKernels, vectorBuilds(), buildName);

// Products and partial sums of small integers are exact in any order, so a lost, repeated or
// stray frame shows as a difference.
TEST_P(VectorKernels, DotOfSmallIntegersEqualsPlainLoopAtEveryLength) {
    for (int32 n : lengths) {
        const std::vector<scalar> a = smallIntegers(n, 1), b = smallIntegers(n, 2);
        EXPECT_EQ(build().dot(a.data() + leading, b.data() + leading, n),
                  referenceBuild.dot(a.data() + leading, b.data() + leading, n))
            << "n = " << n;
    }
}

TEST_P(VectorKernels, DotIsWithinSummationOrderRoundingOfExactSum) {
    for (int32 n : lengths) {
        const std::vector<scalar> a = guardedValues(n, 3), b = guardedValues(n, 4);
        double exact = 0.0, magnitudes = 0.0;
        for (int32 i = 0; i < n; ++i) {
            const double product = double(a[leading + i]) * double(b[leading + i]);
            exact += product;
            magnitudes += std::fabs(product);
        }
        const double bound = (n + 1) * double(FLT_EPSILON) * magnitudes;
        EXPECT_NEAR(build().dot(a.data() + leading, b.data() + leading, n), exact, bound)
            << "n = " << n;
    }
}

TEST_P(VectorKernels, MultiplyAddEqualsPlainLoopAndWritesOnlyN) {
    for (int32 n : lengths) {
        const std::vector<scalar> x = guardedValues(n, 5);
        std::vector<scalar> y = guardedValues(n, 6), expected = y;
        build().multiplyAdd(n, -0.7f, x.data() + leading, y.data() + leading);
        referenceBuild.multiplyAdd(n, -0.7f, x.data() + leading, expected.data() + leading);
        EXPECT_EQ(bitsOf(y), bitsOf(expected)) << "n = " << n;
    }
}

TEST_P(VectorKernels, ScaleEqualsPlainLoopAndWritesOnlyN) {
    for (int32 n : lengths) {
        std::vector<scalar> y = guardedValues(n, 7), expected = y;
        build().scale(n, 1.5f, y.data() + leading);
        referenceBuild.scale(n, 1.5f, expected.data() + leading);
        EXPECT_EQ(bitsOf(y), bitsOf(expected)) << "n = " << n;
    }
}

std::vector<scalar> specialValues() {
    return {std::bit_cast<scalar>(0x7fc12345u), // quiet NaN with a payload
            std::bit_cast<scalar>(0x7f800001u), // signalling NaN, quietened by any product
            1e-40f, -1e-39f, -0.0f, 3.0f, std::numeric_limits<scalar>::infinity(), 1e-40f,
            2.5f};
}

// Under denormals-are-zero a product by 1 would flush the denormals and quieten the NaN.
TEST_P(VectorKernels, ScaleByOneLeavesNanAndDenormalsUntouched) {
    const FlushDenormals flush;
    std::vector<scalar> y = specialValues();
    build().scale(static_cast<int32>(y.size()), 1.0f, y.data());
    EXPECT_EQ(bitsOf(y), bitsOf(specialValues()));
}

bool isDenormal(scalar value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    return (bits & 0x7f800000u) == 0 && (bits & 0x007fffffu) != 0;
}

bool isZero(scalar value) { return (std::bit_cast<std::uint32_t>(value) & 0x7fffffffu) == 0; }

TEST_P(VectorKernels, ScaleByAnythingButOneMultiplies) {
    const std::vector<scalar> original = specialValues();
    for (scalar alpha : {std::nextafter(1.0f, 2.0f), std::nextafter(1.0f, 0.0f), -1.0f}) {
        std::vector<scalar> y = original;
        {
            const FlushDenormals flush;
            build().scale(static_cast<int32>(y.size()), alpha, y.data());
        }
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (std::isnan(original[i])) {
                EXPECT_TRUE(std::isnan(y[i])) << i;
            } else if (isDenormal(original[i])) {
                EXPECT_TRUE(isZero(y[i])) << i;
            } else {
                EXPECT_EQ(y[i], original[i] * alpha) << i;
            }
        }
    }
}

constexpr scalar nan = std::numeric_limits<scalar>::quiet_NaN();
constexpr scalar infinity = std::numeric_limits<scalar>::infinity();

struct PivotCase {
    const char* what;
    std::vector<scalar> column;
    int32 start, end, expected;
};

const std::vector<PivotCase> pivotCases = {
    {"a tie keeps the first", {2, -2, 1}, 0, 3, 0},
    {"a later row wins by being strictly larger", {1, -3, 3, 2}, 0, 4, 1},
    {"rows before start are not searched", {9, 1, 2}, 1, 3, 2},
    {"end is excluded", {1, 2, 9}, 0, 2, 1},
    {"an empty range gives start", {1, 2}, 1, 1, 1},
    {"a NaN at start wins", {nan, 5}, 0, 2, 0},
    {"a later NaN is passed over", {1, nan, 2, nan}, 0, 4, 2},
    {"minus infinity is the largest", {1, -infinity, 2}, 0, 3, 1},
    {"minus zero ties zero", {0, -0.0f}, 0, 2, 0},
    {"largest in the tail", {1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, -9}, 0, 13, 12},
    {"first of equal ones across gangs", {1, 0, 0, 0, 0, 7, 0, 0, 0, -7, 7}, 0, 11, 5},
    {"start inside a gang", {9, 9, 9, 1, 2, 3, 4, 5, 6, 7, 8, 2}, 3, 12, 10},
};

TEST_P(VectorKernels, FindPivotCases) {
    for (const PivotCase& c : pivotCases) {
        EXPECT_EQ(build().findPivot(c.column.data(), c.start, c.end), c.expected) << c.what;
        EXPECT_EQ(referenceBuild.findPivot(c.column.data(), c.start, c.end), c.expected) << c.what;
    }
}

// Few distinct values make ties common, and the NaNs land at starts and inside ranges.
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

TEST_P(VectorKernels, ExchangeRowsEqualsPlainLoop) {
    constexpr int32 n = 5, lda = 7;
    for (auto [i, j] : {std::pair{1, 4}, std::pair{0, 0}, std::pair{3, 2}}) {
        std::vector<scalar> a = randomValues(n * lda, 9), expected = a;
        std::vector<int32> ipiv = {0, 1, 2, 3, 4}, expectedIpiv = ipiv;
        build().exchangeRows(n, a.data(), lda, ipiv.data(), i, j);
        referenceBuild.exchangeRows(n, expected.data(), lda, expectedIpiv.data(), i, j);
        EXPECT_EQ(bitsOf(a), bitsOf(expected));
        EXPECT_EQ(ipiv, expectedIpiv);
    }
}

TEST(PlainLoopKernels, ExchangeRowsSwapsRowsAcrossAllColumnsAndThePermutation) {
    // Two columns of stride 3 hold the rows (1, 4) and (2, 5); 3 and 6 are padding.
    std::vector<scalar> a = {1, 2, 3, 4, 5, 6};
    std::vector<int32> ipiv = {0, 1};
    referenceBuild.exchangeRows(2, a.data(), 3, ipiv.data(), 0, 1);
    EXPECT_EQ(a, (std::vector<scalar>{2, 1, 3, 5, 4, 6}));
    EXPECT_EQ(ipiv, (std::vector<int32>{1, 0}));
}

} // namespace
} // namespace nodara::kernels
