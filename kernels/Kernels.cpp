#include "kernels/Kernels.h"

#include "kernels/InstructionSet.h"
#include "kernels/KernelBuilds.h"

namespace nodara::kernels {

namespace {

const KernelBuild& selectedBuild() { return buildForLevel(instructionSetLevel()); }

} // namespace

const KernelBuild& buildForLevel(int32 level) {
    if (level >= levelAvx) {
        return avxBuild;
    }
    if (level > levelSse2) {
        return sse4Build;
    }
    return sse2Build;
}

std::vector<const KernelBuild*> supportedVectorBuilds() {
    std::vector<const KernelBuild*> builds;
    for (const KernelBuild* build : {&sse2Build, &sse4Build, &avxBuild}) {
        if (build->minimumLevel <= instructionSetLevel()) {
            builds.push_back(build);
        }
    }
    return builds;
}

scalar dot(const scalar* a, const scalar* b, int32 n) { return selectedBuild().dot(a, b, n); }

void multiplyAdd(int32 n, scalar alpha, const scalar* x, scalar* y) {
    selectedBuild().multiplyAdd(n, alpha, x, y);
}

void scale(int32 n, scalar alpha, scalar* y) { selectedBuild().scale(n, alpha, y); }

int32 ludcmp(int32 n, scalar* a, int32 lda, int32* ipiv) {
    return selectedBuild().ludcmp(n, a, lda, ipiv);
}

int32 lubksb(int32 n, const scalar* a, int32 lda, const int32* ipiv, const scalar* b,
             scalar* x) {
    return selectedBuild().lubksb(n, a, lda, ipiv, b, x);
}

int32 findPivot(const scalar* column, int32 start, int32 end) {
    return selectedBuild().findPivot(column, start, end);
}

void exchangeRows(int32 n, scalar* a, int32 lda, int32* ipiv, int32 i, int32 j) {
    selectedBuild().exchangeRows(n, a, lda, ipiv, i, j);
}

} // namespace nodara::kernels
