#pragma once

#include "kernels/signal/BiQuadLayout.h"
#include "kernels/signal/SignalKernelBuilds.h"

// The signal kernels written once over a gang of lanes, instantiated by each instruction-set
// build with its own Lanes type of internal linkage, so that no instantiation compiled for a
// wider instruction set can be shared with a narrower build by the linker. For the same reason
// nothing here calls the standard library.
//
// Lanes provides: width; zero(), load(p), store(p); +, − and *; lane(i). For spectra, on
// interleaved complex values: swapPairs() (re, im → im, re), evenDuplicated() and
// oddDuplicated() (each pair's real or imaginary part in both of its lanes), negateEven() (flips
// the sign of every real part). For cascades: skew; shiftUpInserting(s) (lane i to lane i + 1, s
// into lane 0); a Mask type, working(t, frames) (the lanes i with 0 ≤ t − skew·i < frames) and
// select(mask, a, b) (a where the mask is set, b elsewhere). For lookups: broadcast(s); an Index
// type of 32-bit integers, truncated() (the processor's truncation), converted(index),
// gatherNeighbours(table, index, a, b) (a = table[index],
// b = table[index + 1]); indexBelow(index, k), indexAtLeast(index, k),
// either(mask, mask), equal(a, b) and indexOutside(mask, index) (0 where the mask is set).
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

/// One biquad step in every lane, in the order of the single filter.
template <class Lanes>
struct BiQuadLanes {
    Lanes b0, b1, b2, a1, a2;

    Lanes step(Lanes x, Lanes x1, Lanes x2, Lanes y1, Lanes y2) const {
        Lanes sum = b0 * x + b1 * x1;
        sum = sum + b2 * x2;
        sum = sum - a1 * y1;
        return sum - a2 * y2;
    }
};

/// The state of a biquad in every lane: x[n−1], x[n−2], y[n−1], y[n−2].
template <class Lanes>
struct BiQuadMemory {
    Lanes x1, x2, y1, y2;

    Lanes next(const BiQuadLanes<Lanes>& filter, Lanes x) const {
        return filter.step(x, x1, x2, y1, y2);
    }
    /// Input x gave output y in every lane.
    void take(Lanes x, Lanes y) {
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
    }
    /// The same in the working lanes; the others keep their state.
    template <class Mask>
    void takeWhere(Mask working, Lanes x, Lanes y) {
        x2 = Lanes::select(working, x1, x2);
        x1 = Lanes::select(working, x, x1);
        y2 = Lanes::select(working, y1, y2);
        y1 = Lanes::select(working, y, y1);
    }
};

/// Lane s works on sample t − skew·s at step t, so its input is the output of lane s − 1
/// `skew` steps before: the path through the lane shift then spans `skew` steps and only the
/// recursion of each stage sets the pace. Steps whose lanes do not all hold a sample of the
/// block (filling and draining the pipeline) keep the state of the idle lanes; the raw outputs
/// of idle lanes are never read by a lane at work.
template <class Lanes>
class CascadeGroup {
public:
    CascadeGroup(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride)
        : stages(stages), state(state), rowStride(rowStride),
          filter{Lanes::load(coefficients + rowB0 * rowStride),
                 Lanes::load(coefficients + rowB1 * rowStride),
                 Lanes::load(coefficients + rowB2 * rowStride),
                 Lanes::load(coefficients + rowA1 * rowStride),
                 Lanes::load(coefficients + rowA2 * rowStride)},
          memory{Lanes::load(state + rowX1 * rowStride), Lanes::load(state + rowX2 * rowStride),
                 Lanes::load(state + rowY1 * rowStride), Lanes::load(state + rowY2 * rowStride)} {
        for (Lanes& output : recent) {
            output = Lanes::zero();
        }
    }

    void run(const scalar* in, scalar* out, int32 frames) {
        const int32 fill = lag();
        const int32 total = frames + fill;
        int32 t = 0;
        for (; t < fill && t < total; ++t) {
            advance<true>(t < frames ? in[t] : 0.0f, t, frames);
        }
        for (; t < frames; ++t) {
            out[t - fill] = last(advance<false>(in[t], t, frames));
        }
        for (; t < total; ++t) {
            const Lanes y = advance<true>(0.0f, t, frames);
            if (t - fill < frames) {
                out[t - fill] = last(y);
            }
        }
        save();
    }

    /// Steps from a sample entering the first stage to its output leaving the last.
    int32 lag() const { return Lanes::skew * (stages - 1); }

    /// Step t of a block of `frames`: `sample` (0 from t = frames on) enters the first stage;
    /// returns every stage's output, the last stage's (`last`) for sample t − lag(). `partial`
    /// for the steps that fill and drain the pipeline (t < lag() or t ≥ frames); any step may
    /// take it.
    template <bool partial>
    Lanes advance(scalar sample, int32 t, int32 frames) {
        const Lanes x = recent[Lanes::skew - 1].shiftUpInserting(sample);
        const Lanes y = memory.next(filter, x);
        if constexpr (partial) {
            memory.takeWhere(Lanes::working(t, frames), x, y);
        } else {
            memory.take(x, y);
        }
        for (int32 k = Lanes::skew - 1; k > 0; --k) {
            recent[k] = recent[k - 1];
        }
        recent[0] = y;
        return y;
    }

    /// The last stage's lane; a full gang's from a register.
    scalar last(Lanes y) const { return stages == Lanes::width ? y.top() : y.lane(stages - 1); }

    /// Writes the state back, every stage at the block's end.
    void save() const {
        memory.x1.store(state + rowX1 * rowStride);
        memory.x2.store(state + rowX2 * rowStride);
        memory.y1.store(state + rowY1 * rowStride);
        memory.y2.store(state + rowY2 * rowStride);
    }

private:
    int32 stages;
    scalar* state;
    int32 rowStride;
    BiQuadLanes<Lanes> filter;
    BiQuadMemory<Lanes> memory;
    /// Raw outputs of the last `skew` steps, the newest first.
    Lanes recent[Lanes::skew];
};

/// The cascade in groups of up to Lanes::width stages, each group over the whole block.
template <class Lanes>
void biQuadCascadeIn(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                     const scalar* in, scalar* out, int32 frames) {
    if (frames <= 0) {
        return;
    }
    for (int32 first = 0; first < stages; first += Lanes::width) {
        const int32 group = stages - first < Lanes::width ? stages - first : Lanes::width;
        CascadeGroup<Lanes>(group, coefficients + first, state + first, rowStride)
            .run(first == 0 ? in : out, out, frames);
    }
}

/// The constants of a table lookup in every lane.
template <class Lanes>
struct TableLanes {
    const scalar* table;
    int32 last;
    Lanes low, spacing, scale, first, end;

    TableLanes(const scalar* table, int32 last, scalar vinMin, scalar deltaV, scalar inverse)
        : table(table), last(last), low(Lanes::broadcast(vinMin)), spacing(Lanes::broadcast(deltaV)),
          scale(Lanes::broadcast(inverse)), first(Lanes::broadcast(table[0])),
          end(Lanes::broadcast(table[last])) {}

    /// Every lane computes the interpolation from the entries at a safe index (0 outside the
    /// table's inner range), then the ends and the equal neighbours are chosen in, as the
    /// single lookup's branches choose. The two neighbours come in one 64-bit load per lane,
    /// which halves the loads of a gather.
    Lanes lookUp(Lanes x) const {
        const Lanes d = x - low;
        const typename Lanes::Index i = (scale * d).truncated();
        const typename Lanes::Mask below = Lanes::indexBelow(i, 1);
        const typename Lanes::Mask above = Lanes::indexAtLeast(i, last);
        const typename Lanes::Index at = Lanes::indexOutside(Lanes::either(below, above), i);
        Lanes a;
        Lanes b;
        Lanes::gatherNeighbours(table, at, a, b);
        const Lanes between = ((d - Lanes::converted(i) * spacing) * (b - a)) * scale + a;
        const Lanes inner = Lanes::select(Lanes::equal(a, b), a, between);
        return Lanes::select(below, first, Lanes::select(above, end, inner));
    }
};

/// The frames that do not fill a gang go through one padded gang. A table of one entry has no
/// inner range and no second entry: every input gives that entry.
template <class Lanes>
void tableLookup(const scalar* table, int32 last, scalar vinMin, scalar deltaV, scalar inverse,
                 const scalar* in, scalar* out, int32 frames) {
    if (last < 1) {
        for (int32 n = 0; n < frames; ++n) {
            out[n] = table[0];
        }
        return;
    }
    const TableLanes<Lanes> lookup(table, last, vinMin, deltaV, inverse);
    int32 n = 0;
    for (; n + Lanes::width <= frames; n += Lanes::width) {
        lookup.lookUp(Lanes::load(in + n)).store(out + n);
    }
    if (n < frames) {
        scalar padded[Lanes::width] = {};
        for (int32 k = 0; k < frames - n; ++k) {
            padded[k] = in[n + k];
        }
        lookup.lookUp(Lanes::load(padded)).store(padded);
        for (int32 k = 0; k < frames - n; ++k) {
            out[n + k] = padded[k];
        }
    }
}

/// Every signal kernel instantiated under a build's name: Lanes for the spectra and the
/// lookups, the cascade as the build chooses its lanes by the number of stages, and the fused
/// chains (ChainArithmetic.h) as the build instantiates them.
template <class Lanes>
constexpr SignalKernelBuild buildOver(const char* name, int32 minimumLevel,
                                      decltype(SignalKernelBuild::biQuadCascade) cascade,
                                      decltype(SignalKernelBuild::runFusedChain) chainSupported,
                                      decltype(SignalKernelBuild::runFusedChain) chain) {
    return {name,     minimumLevel,       &sumOfSpectrumProducts<Lanes>, cascade,
            &tableLookup<Lanes>, chainSupported, chain};
}

} // namespace nodara::kernels::lanes
