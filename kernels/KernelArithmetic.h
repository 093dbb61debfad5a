#pragma once

#include "kernels/KernelBuilds.h"

#include <cstddef>

// The kernels written once over a gang of lanes, instantiated by each instruction-set build with
// its own Lanes type. Every function here is a template over Lanes and each build's Lanes has
// internal linkage, so no instantiation compiled for a wider instruction set can be shared with
// a narrower build by the linker. For the same reason nothing here calls the standard library.
//
// Lanes provides: width; zero(), broadcast(s), load(p), loadFirst(p, count) with the other lanes
// 0; store(p), storeFirst(p, count); + and *; total(); magnitude(); largerOf(best, candidate)
// that keeps best where candidate is NaN; largest(); equalMask(other) with lane i at bit i;
// and reciprocal(s), the hardware approximation refined by one Newton step.
namespace nodara::kernels::arithmetic {

template <class Lanes>
scalar* columnOf(scalar* a, int32 lda, int32 k) {
    return a + static_cast<std::ptrdiff_t>(k) * lda;
}

template <class Lanes>
const scalar* columnOf(const scalar* a, int32 lda, int32 k) {
    return a + static_cast<std::ptrdiff_t>(k) * lda;
}

template <class Lanes>
scalar magnitude(scalar value) {
    return value < 0.0f ? -value : value;
}

/// Frames in whole gangs; the rest go through the masked tail.
template <class Lanes>
int32 wholeGangFrames(int32 n) {
    return n - n % Lanes::width;
}

template <class Lanes>
scalar dot(const scalar* a, const scalar* b, int32 n) {
    const int32 whole = wholeGangFrames<Lanes>(n);
    Lanes sums = Lanes::zero();
    for (int32 i = 0; i < whole; i += Lanes::width) {
        sums = sums + Lanes::load(a + i) * Lanes::load(b + i);
    }
    const int32 rest = n - whole;
    if (rest <= 0) {
        return sums.total();
    }
    const Lanes tail = Lanes::loadFirst(a + whole, rest) * Lanes::loadFirst(b + whole, rest);
    return sums.total() + tail.total();
}

template <class Lanes>
void multiplyAdd(int32 n, scalar alpha, const scalar* x, scalar* y) {
    const int32 whole = wholeGangFrames<Lanes>(n);
    const Lanes factor = Lanes::broadcast(alpha);
    for (int32 i = 0; i < whole; i += Lanes::width) {
        (Lanes::load(y + i) + factor * Lanes::load(x + i)).store(y + i);
    }
    const int32 rest = n - whole;
    if (rest > 0) {
        const Lanes tail = Lanes::loadFirst(y + whole, rest) +
                           factor * Lanes::loadFirst(x + whole, rest);
        tail.storeFirst(y + whole, rest);
    }
}

/// y[i] *= alpha with no shortcut: the factorisation multiplies even by exactly 1.
template <class Lanes>
void multiply(int32 n, scalar alpha, scalar* y) {
    const int32 whole = wholeGangFrames<Lanes>(n);
    const Lanes factor = Lanes::broadcast(alpha);
    for (int32 i = 0; i < whole; i += Lanes::width) {
        (Lanes::load(y + i) * factor).store(y + i);
    }
    const int32 rest = n - whole;
    if (rest > 0) {
        (Lanes::loadFirst(y + whole, rest) * factor).storeFirst(y + whole, rest);
    }
}

template <class Lanes>
void scale(int32 n, scalar alpha, scalar* y) {
    if (alpha != 1.0f) {
        multiply<Lanes>(n, alpha, y);
    }
}

/// Largest magnitude in column[start .. end − 1], NaNs ignored; the padding of the tail is 0 and
/// never exceeds the start value it is compared with.
template <class Lanes>
scalar largestMagnitude(const scalar* column, int32 start, int32 end, scalar startMagnitude) {
    const scalar* values = column + start;
    const int32 whole = wholeGangFrames<Lanes>(end - start);
    Lanes best = Lanes::broadcast(startMagnitude);
    for (int32 i = 0; i < whole; i += Lanes::width) {
        best = Lanes::largerOf(best, Lanes::load(values + i).magnitude());
    }
    const int32 rest = end - start - whole;
    best = Lanes::largerOf(best, Lanes::loadFirst(values + whole, rest).magnitude());
    return best.largest();
}

/// First index from start whose magnitude equals target; target is known to occur.
template <class Lanes>
int32 firstWithMagnitude(const scalar* column, int32 start, int32 end, scalar target) {
    const Lanes wanted = Lanes::broadcast(target);
    int32 i = start;
    for (; i + Lanes::width <= end; i += Lanes::width) {
        const int32 mask = Lanes::load(column + i).magnitude().equalMask(wanted);
        if (mask != 0) {
            return i + __builtin_ctz(static_cast<unsigned>(mask));
        }
    }
    const int32 mask = Lanes::loadFirst(column + i, end - i).magnitude().equalMask(wanted);
    return i + __builtin_ctz(static_cast<unsigned>(mask));
}

// A later row wins only by being strictly larger, so the answer is start when start holds the
// maximum (or a NaN), and otherwise the first row holding it.
template <class Lanes>
int32 findPivot(const scalar* column, int32 start, int32 end) {
    if (start >= end) {
        return start;
    }
    const scalar startMagnitude = magnitude<Lanes>(column[start]);
    if (startMagnitude != startMagnitude) {
        return start;
    }
    const scalar largest = largestMagnitude<Lanes>(column, start, end, startMagnitude);
    if (largest == startMagnitude) {
        return start;
    }
    return firstWithMagnitude<Lanes>(column, start + 1, end, largest);
}

// Rows are strided in column-major storage, so the swap goes element by element.
template <class Lanes>
void exchangeRows(int32 n, scalar* a, int32 lda, int32* ipiv, int32 i, int32 j) {
    const int32 index = ipiv[i];
    ipiv[i] = ipiv[j];
    ipiv[j] = index;
    for (int32 k = 0; k < n; ++k) {
        scalar* column = columnOf<Lanes>(a, lda, k);
        const scalar value = column[i];
        column[i] = column[j];
        column[j] = value;
    }
}

// Right-looking: after choosing the pivot of column j, the multipliers below it are formed and
// every later column is updated with them, one contiguous multiply-add per column.
template <class Lanes>
int32 ludcmp(int32 n, scalar* a, int32 lda, int32* ipiv) {
    for (int32 i = 0; i < n; ++i) {
        ipiv[i] = i;
    }
    for (int32 j = 0; j < n; ++j) {
        scalar* pivotColumn = columnOf<Lanes>(a, lda, j);
        const int32 p = findPivot<Lanes>(pivotColumn, j, n);
        if (p != j) {
            exchangeRows<Lanes>(n, a, lda, ipiv, j, p);
        }
        const scalar pivot = pivotColumn[j];
        if (!(magnitude<Lanes>(pivot) >= 1e-20f)) {
            return -1;
        }
        const int32 below = n - j - 1;
        multiply<Lanes>(below, Lanes::reciprocal(pivot), pivotColumn + j + 1);
        for (int32 k = j + 1; k < n; ++k) {
            scalar* target = columnOf<Lanes>(a, lda, k);
            multiplyAdd<Lanes>(below, -target[j], pivotColumn + j + 1, target + j + 1);
        }
    }
    return 0;
}

template <class Lanes>
int32 lubksb(int32 n, const scalar* a, int32 lda, const int32* ipiv, const scalar* b,
             scalar* x) {
    for (int32 i = 0; i < n; ++i) {
        x[i] = b[ipiv[i]];
    }
    for (int32 j = 0; j + 1 < n; ++j) {
        const scalar* lower = columnOf<Lanes>(a, lda, j);
        multiplyAdd<Lanes>(n - j - 1, -x[j], lower + j + 1, x + j + 1);
    }
    for (int32 j = n - 1; j >= 0; --j) {
        const scalar* upper = columnOf<Lanes>(a, lda, j);
        x[j] *= Lanes::reciprocal(upper[j]);
        multiplyAdd<Lanes>(j, -x[j], upper, x);
    }
    return 0;
}

/// Every kernel instantiated over Lanes, under a build's name.
template <class Lanes>
constexpr KernelBuild buildOver(const char* name, int32 minimumLevel) {
    return {name,
            minimumLevel,
            &dot<Lanes>,
            &multiplyAdd<Lanes>,
            &scale<Lanes>,
            &ludcmp<Lanes>,
            &lubksb<Lanes>,
            &findPivot<Lanes>,
            &exchangeRows<Lanes>};
}

} // namespace nodara::kernels::arithmetic
