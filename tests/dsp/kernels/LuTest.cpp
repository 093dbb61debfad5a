#include "KernelTestSupport.h"

#include <Eigen/Dense>

#include <cmath>
#include <limits>

namespace nodara::kernels {
namespace {

// Orders below, at and across the lane widths; the columns carry padding rows.
const std::vector<int32> orders = {1, 2, 3, 4, 5, 7, 8, 9, 13, 33};
constexpr int32 padding = 3;

struct Factorisation {
    int32 status;
    std::vector<scalar> a;
    std::vector<int32> ipiv;
};

Factorisation factorise(const KernelBuild& build, int32 n, int32 lda, std::vector<scalar> a) {
    std::vector<int32> ipiv(static_cast<std::size_t>(n), -1);
    const int32 status = build.ludcmp(n, a.data(), lda, ipiv.data());
    return {status, std::move(a), std::move(ipiv)};
}

std::vector<scalar> solve(const KernelBuild& build, int32 n, int32 lda,
                          const Factorisation& factors, const std::vector<scalar>& b) {
    std::vector<scalar> x(b.size());
    EXPECT_EQ(build.lubksb(n, factors.a.data(), lda, factors.ipiv.data(), b.data(), x.data()), 0);
    return x;
}

Eigen::MatrixXd toEigen(int32 n, int32 lda, const std::vector<scalar>& a) {
    Eigen::MatrixXd matrix(n, n);
    for (int32 k = 0; k < n; ++k) {
        for (int32 i = 0; i < n; ++i) {
            matrix(i, k) = a[static_cast<std::size_t>(k * lda + i)];
        }
    }
    return matrix;
}

Eigen::VectorXd toEigen(const std::vector<scalar>& v) {
    return Eigen::Map<const Eigen::VectorXf>(v.data(), static_cast<Eigen::Index>(v.size()))
        .cast<double>();
}

/// The unit-lower and upper factors, multiplied back together.
Eigen::MatrixXd productOfFactors(int32 n, int32 lda, const std::vector<scalar>& factors) {
    const Eigen::MatrixXd packed = toEigen(n, lda, factors);
    Eigen::MatrixXd lower = packed.triangularView<Eigen::StrictlyLower>();
    lower += Eigen::MatrixXd::Identity(n, n);
    const Eigen::MatrixXd upper = packed.triangularView<Eigen::Upper>();
    return lower * upper;
}

class Lu : public EveryBuild {};

INSTANTIATE_TEST_SUITE_P(Builds, Lu, allBuilds(), buildName);

// Every step is element-wise, so the lanes change nothing, not even the last bit.
TEST_P(Lu, FactorsAndSolutionEqualPlainLoopsBitForBit) {
    for (int32 n : orders) {
        const int32 lda = n + padding;
        const std::vector<scalar> a = randomValues(static_cast<std::size_t>(n * lda), 10 + n);
        const std::vector<scalar> b = randomValues(static_cast<std::size_t>(n), 50 + n);
        const Factorisation expected = factorise(referenceBuild, n, lda, a);
        const Factorisation factors = factorise(build(), n, lda, a);
        ASSERT_EQ(expected.status, 0) << "n = " << n;
        EXPECT_EQ(factors.status, 0) << "n = " << n;
        EXPECT_EQ(factors.ipiv, expected.ipiv) << "n = " << n;
        EXPECT_EQ(bitsOf(factors.a), bitsOf(expected.a)) << "n = " << n;
        EXPECT_EQ(bitsOf(solve(build(), n, lda, factors, b)),
                  bitsOf(solve(referenceBuild, n, lda, expected, b)))
            << "n = " << n;
    }
}

TEST_P(Lu, FactorsReproduceTheRowPermutedMatrix) {
    for (int32 n : orders) {
        const int32 lda = n + padding;
        const std::vector<scalar> a = randomValues(static_cast<std::size_t>(n * lda), 10 + n);
        const Factorisation factors = factorise(build(), n, lda, a);
        ASSERT_EQ(factors.status, 0) << "n = " << n;
        const Eigen::MatrixXd original = toEigen(n, lda, a);
        Eigen::MatrixXd permuted(n, n);
        for (int32 i = 0; i < n; ++i) {
            permuted.row(i) = original.row(factors.ipiv[static_cast<std::size_t>(i)]);
        }
        const double error = (productOfFactors(n, lda, factors.a) - permuted).cwiseAbs().maxCoeff();
        EXPECT_LT(error, 1e-6 * n) << "n = " << n;
        for (int32 k = 0; k < n; ++k) {
            for (int32 i = n; i < lda; ++i) {
                const std::size_t at = static_cast<std::size_t>(k * lda + i);
                EXPECT_EQ(factors.a[at], a[at]) << "padding row " << i << " of column " << k;
            }
        }
    }
}

TEST_P(Lu, SolutionAgreesWithDenseSolve) {
    for (int32 n : orders) {
        const int32 lda = n + padding;
        const std::vector<scalar> a = randomValues(static_cast<std::size_t>(n * lda), 20 + n);
        const std::vector<scalar> b = randomValues(static_cast<std::size_t>(n), 60 + n);
        const Factorisation factors = factorise(build(), n, lda, a);
        ASSERT_EQ(factors.status, 0) << "n = " << n;
        const std::vector<scalar> x = solve(build(), n, lda, factors, b);

        const Eigen::VectorXd expected = toEigen(n, lda, a).partialPivLu().solve(toEigen(b));
        EXPECT_LT((toEigen(x) - expected).cwiseAbs().maxCoeff(),
                  3e-5 * expected.cwiseAbs().maxCoeff())
            << "n = " << n;
    }
}

struct LuCase {
    const char* what;
    int32 n;
    std::vector<scalar> a; // column-major, lda = n
    int32 status;
    std::vector<int32> ipiv; // checked when status is 0
};

const std::vector<LuCase> luCases = {
    {"a zero matrix of order 1 fails", 1, {0}, -1, {}},
    {"a pivot of exactly 1e-20 passes", 1, {1e-20f}, 0, {0}},
    {"a negative pivot of exactly 1e-20 passes", 1, {-1e-20f}, 0, {0}},
    {"a pivot just below 1e-20 fails", 1, {std::nextafter(1e-20f, 0.0f)}, -1, {}},
    {"a NaN pivot fails", 1, {std::numeric_limits<scalar>::quiet_NaN()}, -1, {}},
    {"a zero column fails at its pivot", 2, {2, 1, 0, 0}, -1, {}},
    {"a tie keeps the upper row", 2, {1, -1, 2, 3}, 0, {0, 1}},
    {"a strictly larger lower row moves up", 2, {1, -2, 2, 3}, 0, {1, 0}},
    {"a second pivot is searched below the first", 3, {4, 1, 2, 0, 1, 5, 1, 0, 1}, 0, {0, 2, 1}},
};

TEST_P(Lu, ReturnCodeAndPermutationCases) {
    for (const LuCase& c : luCases) {
        const Factorisation factors = factorise(build(), c.n, c.n, c.a);
        EXPECT_EQ(factors.status, c.status) << c.what;
        if (c.status == 0) {
            EXPECT_EQ(factors.ipiv, c.ipiv) << c.what;
        }
    }
}

TEST_P(Lu, OrderOneSolveOnlyDividesByThePivot) {
    const std::vector<scalar> a = {4.0f};
    const std::vector<int32> ipiv = {0};
    const scalar b = 3.0f;
    scalar x = 0.0f;
    EXPECT_EQ(build().lubksb(1, a.data(), 1, ipiv.data(), &b, &x), 0);
    EXPECT_NEAR(x, 0.75f, 1e-6f);
}

} // namespace
} // namespace nodara::kernels
