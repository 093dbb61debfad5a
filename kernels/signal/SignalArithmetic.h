#pragma once

#include "kernels/signal/SignalKernelBuilds.h"

// The signal kernels written once over a gang of lanes, instantiated by each instruction-set
// build with its own Lanes type of internal linkage, so that no instantiation compiled for a
// wider instruction set can be shared with a narrower build by the linker. For the same reason
// nothing here calls the standard library.
//
// Lanes provides: width; zero(), load(p), store(p); + and *; and on interleaved complex values
// swapPairs() (re, im → im, re), evenDuplicated() and oddDuplicated() (each pair's real or
// imaginary part in both of its lanes), negateEven() (flips the sign of every real part).
namespace nodara::kernels::lanes {

/// x·h per complex pair: x·(hr, hr) + (−xi·hi, xr·hi), the sum of the real lanes written as an
/// addition of the negated product, which IEEE arithmetic makes equal to the subtraction.
template <class Lanes>
Lanes complexProduct(Lanes x, Lanes h) {
    return x * h.evenDuplicated() + (x.swapPairs() * h.oddDuplicated()).negateEven();
}

template <class Lanes>
void sumOfSpectrumProducts(int32 complexCount, int32 terms, const scalar* const* spectra,
                           const scalar* responses, int32 responseStride, scalar* sum) {
    const int32 floats = 2 * complexCount;
    for (int32 i = 0; i < floats; i += Lanes::width) {
        Lanes total = Lanes::zero();
        const scalar* response = responses + i;
        for (int32 t = 0; t < terms; ++t) {
            total = total + complexProduct(Lanes::load(spectra[t] + i), Lanes::load(response));
            response += responseStride;
        }
        total.store(sum + i);
    }
}

/// Every signal kernel instantiated over Lanes, under a build's name.
template <class Lanes>
constexpr SignalKernelBuild buildOver(const char* name, int32 minimumLevel) {
    return {name, minimumLevel, &sumOfSpectrumProducts<Lanes>};
}

} // namespace nodara::kernels::lanes
