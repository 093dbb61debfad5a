#include "KernelTestSupport.h"

#include <Eigen/Dense>

#include <cmath>
#include <limits>

namespace nodara::kernels {
namespace {

// Orders below, at and across the lane widths; every column carries padding rows.
const std::vector<int32> orders = {1, 2, 3, 4, 5, 7, 8, 9, 13, 33};
constexpr int32 padding = 3;

struct Solution {
    int32 status;
    std::vector<scalar> factors;
    std::vector<int32> ipiv;
    std::vector<scalar> x;
};

Solution solve(const KernelBuild& build, int32 n, int32 lda, std::vector<scalar> a,
               const std::vector<scalar>& b) {
    Solution s{0, std::move(a), std::vector<int32>(static_cast<std::size_t>(n)), b};
    s.status = build.ludcmp(n, s.factors.data(), lda, s.ipiv.data());
    if (s.status == 0) {
        EXPECT_EQ(build.lubksb(n, s.factors.data(), lda, s.ipiv.data(), b.data(), s.x.data()), 0);
    }
    return s;
}

Eigen::VectorXd toEigen(const std::vector<scalar>& v) {
    return Eigen::Map<const Eigen::VectorXf>(v.data(), static_cast<Eigen::Index>(v.size()))
        .cast<double>();
}

Eigen::MatrixXd toEigen(int32 n, int32 lda, const std::vector<scalar>& a) {
    return Eigen::Map<const Eigen::MatrixXf, 0, Eigen::OuterStride<>>(a.data(), n, n,
                                                                       Eigen::OuterStride<>(lda))
        .cast<double>();
}

class Lu : public EveryBuild {};
INSTANTIATE_TEST_SUITE_P(Builds, Lu, allBuilds(), buildName);

// Every step is element-wise, so the lanes change nothing, not even the last bit; and the
// solution agrees with a dense solve in double precision.
TEST_P(Lu, FactorsAndSolutionEqualPlainLoopsBitForBitAndSolveTheSystem) {
    for (int32 n : orders) {
        SCOPED_TRACE(::testing::Message() << "n = " << n);
        const int32 lda = n + padding;
        const std::vector<scalar> a = noise(static_cast<std::size_t>(n * lda), 10 + n);
        const std::vector<scalar> b = noise(static_cast<std::size_t>(n), 50 + n);
        const Solution expected = solve(referenceBuild, n, lda, a, b);
        const Solution actual = solve(build(), n, lda, a, b);
        ASSERT_EQ(actual.status, 0);
        EXPECT_EQ(expected.status, 0);
        EXPECT_EQ(actual.ipiv, expected.ipiv);
        EXPECT_EQ(bitsOf(actual.factors), bitsOf(expected.factors));
        EXPECT_EQ(bitsOf(actual.x), bitsOf(expected.x));
        const Eigen::VectorXd dense = toEigen(n, lda, a).partialPivLu().solve(toEigen(b));
        EXPECT_LT((toEigen(actual.x) - dense).cwiseAbs().maxCoeff(),
                  3e-5 * dense.cwiseAbs().maxCoeff());
    }
}

struct LuCase {
    const char* what;
    int32 n;
    std::vector<scalar> a; // column-major, lda = n
    int32 status;
    std::vector<int32> ipiv; // checked when status is 0
};

TEST_P(Lu, ReturnCodeAndPermutationCases) {
    const std::vector<LuCase> cases = {
        {"a zero matrix of order 1 fails", 1, {0}, -1, {}},
        {"a pivot of exactly 1e-20 passes", 1, {-1e-20f}, 0, {0}},
        {"a pivot just below 1e-20 fails", 1, {std::nextafter(1e-20f, 0.0f)}, -1, {}},
        {"a NaN pivot fails", 1, {std::numeric_limits<scalar>::quiet_NaN()}, -1, {}},
        {"a zero column fails at its pivot", 2, {2, 1, 0, 0}, -1, {}},
        {"a tie keeps the upper row", 2, {1, -1, 2, 3}, 0, {0, 1}},
        {"a strictly larger lower row moves up", 2, {1, -2, 2, 3}, 0, {1, 0}},
        {"the second pivot is searched below the first", 3, {4, 1, 2, 0, 1, 5, 1, 0, 1}, 0,
         {0, 2, 1}},
    };
    for (const LuCase& c : cases) {
        std::vector<scalar> a = c.a;
        std::vector<int32> ipiv(static_cast<std::size_t>(c.n));
        EXPECT_EQ(build().ludcmp(c.n, a.data(), c.n, ipiv.data()), c.status) << c.what;
        if (c.status == 0) {
            EXPECT_EQ(ipiv, c.ipiv) << c.what;
        }
    }
}

} // namespace
} // namespace nodara::kernels
