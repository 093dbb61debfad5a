#include "support/Documents.h"

#include "circuit/PackedMatrix.h"
#include "circuit/solvers/SmallLu.h"
#include "kernels/Kernels.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>

#include <algorithm>
#include <random>

namespace nodara::testing {
namespace {

/// A random matrix made well-conditioned by a dominant diagonal.
Eigen::MatrixXf wellConditioned(Eigen::Index n, std::mt19937& random) {
    std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
    Eigen::MatrixXf a = Eigen::MatrixXf::NullaryExpr(n, n, [&] { return entry(random); });
    a.diagonal().array() += static_cast<float>(n);
    return a;
}

Eigen::VectorXf randomVector(Eigen::Index n, std::mt19937& random) {
    std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
    return Eigen::VectorXf::NullaryExpr(n, [&] { return entry(random); });
}

// Sizes below, at and across the four-column groups, rectangular both ways.
TEST(PackedMatrix, ProductEqualsADoublePrecisionProduct) {
    std::mt19937 random(11);
    for (auto [m, n] : {std::pair{1, 1}, {5, 5}, {4, 8}, {13, 7}, {3, 17}, {33, 33}}) {
        SCOPED_TRACE(::testing::Message() << m << "x" << n);
        std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
        const Eigen::MatrixXf a = Eigen::MatrixXf::NullaryExpr(m, n, [&] { return entry(random); });
        const Eigen::VectorXf x = randomVector(n, random);
        PackedMatrix packed(a.data(), static_cast<uint32_t>(m), static_cast<uint32_t>(n));
        Eigen::VectorXf y(m);
        packed.product(x.data(), y.data(), static_cast<uint32_t>(n), static_cast<uint32_t>(m));
        const Eigen::VectorXd expected = a.cast<double>() * x.cast<double>();
        EXPECT_LT((y.cast<double>() - expected).cwiseAbs().maxCoeff(), 1e-5 * n);
        // The residual form subtracts as a separate saxpy would, bit for bit.
        const Eigen::VectorXf r = randomVector(m, random);
        Eigen::VectorXf residual(m);
        packed.residual(x.data(), r.data(), residual.data(), static_cast<uint32_t>(n),
                        static_cast<uint32_t>(m));
        EXPECT_EQ(residual, (y + -1.0f * r).eval());
    }
}

// The two solves of the solvers: the packed inverse (LinearSolver), and the LU kernels on the
// leading block of a matrix with a larger column stride (NewtonSolver, fixed rows behind).
TEST(PackedMatrix, PackedInverseAndStridedLuSolveLikeADoublePrecisionSolve) {
    std::mt19937 random(5);
    for (Eigen::Index n : {1, 3, 5, 13, 33}) {
        SCOPED_TRACE(::testing::Message() << "n = " << n);
        const Eigen::MatrixXf a = wellConditioned(n, random);
        const Eigen::VectorXf b = randomVector(n, random);
        const Eigen::VectorXd exact = a.cast<double>().partialPivLu().solve(b.cast<double>());
        const Eigen::MatrixXf inverse = a.partialPivLu().inverse();
        PackedMatrix packed(inverse.data(), static_cast<uint32_t>(n), static_cast<uint32_t>(n));
        Eigen::VectorXf x(n);
        packed.product(b.data(), x.data(), static_cast<uint32_t>(n), static_cast<uint32_t>(n));
        EXPECT_LT((x.cast<double>() - exact).cwiseAbs().maxCoeff(), 1e-5);

        Eigen::MatrixXf padded = Eigen::MatrixXf::Constant(n + 2, n + 2, 7.0f);
        padded.topLeftCorner(n, n) = a;
        std::vector<int32> pivots(static_cast<size_t>(n));
        ASSERT_EQ(kernels::ludcmp(static_cast<int32>(n), padded.data(), static_cast<int32>(n + 2),
                                  pivots.data()),
                  0);
        kernels::lubksb(static_cast<int32>(n), padded.data(), static_cast<int32>(n + 2),
                        pivots.data(), b.data(), x.data());
        EXPECT_LT((x.cast<double>() - exact).cwiseAbs().maxCoeff(), 1e-5);
    }
}

// The forms compiled per order give the kernels' factors, pivots and solution bit for bit, on
// matrices with padded columns whose pivots must be searched for, dense and half zeros (whose
// zero steps the column form skips), and stop at a zero pivot where the kernels do.
TEST(SmallLu, MatchesTheKernelsBitForBit) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
    for (int32 n = 1; n <= smallLuOrders; ++n) {
        for (const auto& [singular, sparse] : {std::pair{false, false}, {false, true}, {true, false}}) {
            SCOPED_TRACE(::testing::Message() << "n = " << n << (singular ? ", singular" : "")
                                              << (sparse ? ", half zeros" : ""));
            const int32 lda = n + 2;
            std::vector<scalar> a(static_cast<size_t>(lda * n)), b(static_cast<size_t>(n));
            std::generate(a.begin(), a.end(), [&, halfZeros = sparse] {
                const scalar value = entry(random);
                return halfZeros && value < 0.0f ? 0.0f : value;
            });
            std::generate(b.begin(), b.end(), [&] { return entry(random); });
            if (singular) {
                std::fill(a.begin() + (n - 1) * lda, a.begin() + (n - 1) * lda + n, 0.0f);
            }
            std::vector<scalar> small = a, x(static_cast<size_t>(n)), smallX = x;
            std::vector<int32> pivots(static_cast<size_t>(n)), smallPivots = pivots;
            const int32 status = kernels::ludcmp(n, a.data(), lda, pivots.data());
            ASSERT_EQ(smallLuFor(n).ludcmp(small.data(), lda, smallPivots.data()), status);
            EXPECT_EQ(small, a);
            EXPECT_EQ(smallPivots, pivots);
            if (status == 0) {
                kernels::lubksb(n, a.data(), lda, pivots.data(), b.data(), x.data());
                smallLuFor(n).lubksb(small.data(), lda, smallPivots.data(), b.data(), smallX.data());
                EXPECT_EQ(smallX, x);
            }
        }
    }
}

TEST(PackedMatrix, WrongSizesAreRefused) {
    const std::vector<scalar> values(6, 1.0f);
    PackedMatrix packed(values.data(), 2, 3);
    scalar x[3] = {}, y[2] = {};
    EXPECT_EQ(messageOf([&] { packed.product(x, y, 2, 2); }),
              "Invalid size of the x vector in matrix-vector product. Expected3, got2");
    EXPECT_EQ(messageOf([&] { packed.product(x, y, 3, 3); }),
              "Invalid size of the y vector in matrix-vector product. Expected2, got3");
    EXPECT_EQ(messageOf([&] { packed.updateMatrix(values.data(), 3, 2); }),
              "Changing matrix dimensions is not allowed in updateMatrix. Old dimensions mxn=2x3. "
              "New dimensions mxn3x2");
}

} // namespace
} // namespace nodara::testing
