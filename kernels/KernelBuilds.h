#pragma once

#include "runtime/Types.h"

#include <vector>

namespace nodara::kernels {

/// One compiled form of every kernel. The dispatchers in Kernels.h pick one per call by the
/// instruction-set level; tests and benchmarks call a form directly.
struct KernelBuild {
    const char* name;
    /// The lowest instruction-set level whose processors can execute this form.
    int32 minimumLevel;
    scalar (*dot)(const scalar* a, const scalar* b, int32 n);
    void (*multiplyAdd)(int32 n, scalar alpha, const scalar* x, scalar* y);
    void (*scale)(int32 n, scalar alpha, scalar* y);
    int32 (*ludcmp)(int32 n, scalar* a, int32 lda, int32* ipiv);
    int32 (*lubksb)(int32 n, const scalar* a, int32 lda, const int32* ipiv, const scalar* b,
                    scalar* x);
    int32 (*findPivot)(const scalar* column, int32 start, int32 end);
    void (*exchangeRows)(int32 n, scalar* a, int32 lda, int32* ipiv, int32 i, int32 j);
};

/// Plain loops: the reference the vector forms are held against.
extern const KernelBuild referenceBuild;
/// Four lanes, compiled for SSE2.
extern const KernelBuild sse2Build;
/// Four lanes, compiled for SSE4.1.
extern const KernelBuild sse4Build;
/// Eight lanes, compiled for AVX.
extern const KernelBuild avxBuild;

/// The form the dispatchers run at a level: AVX from level 2, SSE4 at 1, SSE2 at 0.
const KernelBuild& buildForLevel(int32 level);

/// The vector forms, SSE2 first, that this processor can execute.
std::vector<const KernelBuild*> supportedVectorBuilds();

} // namespace nodara::kernels
