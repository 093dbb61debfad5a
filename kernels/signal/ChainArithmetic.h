#pragma once

#include "kernels/signal/FusedChain.h"
#include "kernels/signal/SignalArithmetic.h"

#include <emmintrin.h>

// The fused chain (FusedChain.h) written once, instantiated by each instruction-set build with
// its own lane types, as the other signal kernels are (SignalArithmetic.h). The steps keep
// their state in locals, so that the compiler holds it in registers through the loop.
namespace nodara::kernels::lanes {

template <class Tag>
struct GainStep {
    static constexpr ChainStepKind kind = ChainStepKind::Gain;
    scalar gain;
    explicit GainStep(const ChainStep& step) : gain(step.coefficients[0]) {}
    scalar operator()(scalar x) { return x * gain; }
    void save(ChainStep&) const {}
};

/// A lookup takes no part in the pipe's arithmetic itself: the gang looks up every table of
/// the chain at once.
template <class Tag>
struct LookupStep {
    static constexpr ChainStepKind kind = ChainStepKind::Lookup;
    explicit LookupStep(const ChainStep&) {}
    void save(ChainStep&) const {}
};

/// Up to four lookups side by side, one table per lane (lane k reads its own table through
/// a pair load), each with lookupOne's arithmetic in lookupOne's order; its branches become
/// selects, which a signal crossing the table's ends or flat stretches would mispredict. The
/// index read is 0 where the interpolation is not wanted. Lanes without a lookup repeat the
/// first and are never read.
template <class Tag>
class LookupGang {
public:
    static constexpr int32 width = 4;

    LookupGang(const ChainStep* steps, int32 count) {
        alignas(16) scalar low[width] = {}, scale[width] = {}, spacing[width] = {};
        alignas(16) scalar firsts[width] = {}, ends[width] = {};
        alignas(16) int32 lasts[width] = {};
        int32 lane = 0;
        for (int32 s = 0; s < count; ++s) {
            if (steps[s].kind == ChainStepKind::Lookup && lane < width) {
                const ChainStep& step = steps[s];
                tables[lane] = step.table;
                low[lane] = step.vinMin;
                scale[lane] = step.inverse;
                spacing[lane] = step.deltaV;
                firsts[lane] = step.table[0];
                ends[lane] = step.table[step.last];
                lasts[lane] = step.last - 1;
                ++lane;
            }
        }
        for (int32 k = lane; k < width; ++k) {
            tables[k] = tables[0];
            low[k] = low[0];
            scale[k] = scale[0];
            spacing[k] = spacing[0];
            firsts[k] = firsts[0];
            ends[k] = ends[0];
            lasts[k] = lasts[0];
        }
        this->low = _mm_load_ps(low);
        this->scale = _mm_load_ps(scale);
        this->spacing = _mm_load_ps(spacing);
        first = _mm_load_ps(firsts);
        end = _mm_load_ps(ends);
        lastBelow = _mm_load_si128(reinterpret_cast<const __m128i*>(lasts));
    }

    __m128 lookUp(__m128 x) const {
        const __m128 d = _mm_sub_ps(x, low);
        const __m128i i = _mm_cvttps_epi32(_mm_mul_ps(scale, d));
        const __m128i below = _mm_cmpgt_epi32(_mm_set1_epi32(1), i);
        const __m128i above = _mm_cmpgt_epi32(i, lastBelow);
        alignas(16) int32 at[width];
        _mm_store_si128(reinterpret_cast<__m128i*>(at),
                        _mm_andnot_si128(_mm_or_si128(below, above), i));
        const __m128 pairs01 = _mm_unpacklo_ps(pair(0, at[0]), pair(1, at[1]));
        const __m128 pairs23 = _mm_unpacklo_ps(pair(2, at[2]), pair(3, at[3]));
        const __m128 a = _mm_movelh_ps(pairs01, pairs23);
        const __m128 b = _mm_movehl_ps(pairs23, pairs01);
        const __m128 offset = _mm_sub_ps(d, _mm_mul_ps(_mm_cvtepi32_ps(i), spacing));
        const __m128 between =
            _mm_add_ps(_mm_mul_ps(_mm_mul_ps(offset, _mm_sub_ps(b, a)), scale), a);
        const __m128 inner = select(_mm_cmpeq_ps(a, b), a, between);
        return select(_mm_castsi128_ps(below), first,
                      select(_mm_castsi128_ps(above), end, inner));
    }

private:
    /// Entries index and index + 1 of lane k's table, in the two lowest lanes.
    __m128 pair(int32 k, int32 index) const {
        return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(tables[k] + index)));
    }
    static __m128 select(__m128 mask, __m128 a, __m128 b) {
        return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
    }

    const scalar* tables[width] = {};
    __m128 low, scale, spacing, first, end;
    __m128i lastBelow;
};

template <class Tag>
struct FirstOrderStep {
    static constexpr ChainStepKind kind = ChainStepKind::FirstOrder;
    scalar b0, b1, a1, x1, y1;
    explicit FirstOrderStep(const ChainStep& step)
        : b0(step.coefficients[0]), b1(step.coefficients[1]), a1(step.coefficients[2]),
          x1(step.x1), y1(step.y1) {}
    scalar operator()(scalar x) {
        const scalar y = (b0 * x + b1 * x1) - a1 * y1;
        x1 = x;
        y1 = y;
        return y;
    }
    void save(ChainStep& step) const {
        step.x1 = x1;
        step.y1 = y1;
    }
};

template <class Tag>
struct SecondOrderStep {
    static constexpr ChainStepKind kind = ChainStepKind::SecondOrder;
    scalar b0, b1, b2, a1, a2, x1, x2, y1, y2;
    explicit SecondOrderStep(const ChainStep& step)
        : b0(step.coefficients[0]), b1(step.coefficients[1]), b2(step.coefficients[2]),
          a1(step.coefficients[3]), a2(step.coefficients[4]), x1(step.x1), x2(step.x2),
          y1(step.y1), y2(step.y2) {}
    scalar operator()(scalar x) {
        scalar y = b0 * x + b1 * x1;
        y = y + b2 * x2;
        y = y - a1 * y1;
        y = y - a2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
    void save(ChainStep& step) const {
        step.x1 = x1;
        step.x2 = x2;
        step.y1 = y1;
        step.y2 = y2;
    }
};

/// Steps one after another on each sample, for the decimator's kept outputs: one in every
/// `factor` iterations, so their recursions have time enough without a pipe.
template <class... Steps>
struct StepSeries {
    static constexpr int32 count = 0;
    explicit StepSeries(const ChainStep*) {}
    static bool matches(const ChainStep*) { return true; }
    scalar operator()(scalar x) { return x; }
    void save(ChainStep*) const {}
};

template <class First, class... Rest>
struct StepSeries<First, Rest...> {
    static constexpr int32 count = 1 + StepSeries<Rest...>::count;
    First first;
    StepSeries<Rest...> rest;
    explicit StepSeries(const ChainStep* steps) : first(steps[0]), rest(steps + 1) {}
    static bool matches(const ChainStep* steps) {
        return steps[0].kind == First::kind && StepSeries<Rest...>::matches(steps + 1);
    }
    scalar operator()(scalar x) { return rest(first(x)); }
    void save(ChainStep* steps) const {
        first.save(steps[0]);
        rest.save(steps + 1);
    }
};

/// Iterations between a gang's inputs and its outputs' delivery, beyond the one every step
/// takes: the gang joins the lookups' paths, so a lookup waits on the recursions that follow
/// another lookup; the delay spreads each such loop over enough iterations that the
/// processor overlaps it.
inline constexpr int32 gangDelay = 3;

/// The steps as a pipeline: each iteration, step Index takes what step Index − 1 gave in the
/// iteration before (latch[Index]) and leaves its own output in latch[Index + 1], so that
/// within an iteration the steps are independent and the processor overlaps them; each step
/// still sees its samples in order. The lookups hand their inputs to the gang (slot Slot
/// onwards) and take their outputs back in `deliver`. Steps are members, so the whole inlines
/// into one loop.
template <int32 Index, int32 Slot, class... Steps>
struct StepPipe {
    static constexpr int32 lookups = Slot;
    explicit StepPipe(const ChainStep*) {}
    static bool matches(const ChainStep*) { return true; }
    template <bool partial>
    void shift(scalar*, scalar*, int32, int32) {}
    void deliver(scalar*, __m128) {}
    void save(ChainStep*) const {}
};

template <int32 Index, int32 Slot, class First, class... Rest>
struct StepPipe<Index, Slot, First, Rest...> {
    static constexpr bool gathered = First::kind == ChainStepKind::Lookup;
    using Next = StepPipe<Index + 1, Slot + (gathered ? 1 : 0), Rest...>;
    static constexpr int32 lookups = Next::lookups;

    First first;
    Next rest;
    explicit StepPipe(const ChainStep* steps) : first(steps[0]), rest(steps + 1) {}
    static bool matches(const ChainStep* steps) {
        return steps[0].kind == First::kind && Next::matches(steps + 1);
    }
    /// `sample`: the index of the sample this step works on. The later steps go first, each
    /// reading its predecessor's latch before that one moves on. A partial iteration leaves a
    /// recursion out while its sample lies outside the block; a lookup's stray output is
    /// never read.
    template <bool partial>
    void shift(scalar* latch, scalar* gathering, int32 sample, int32 frames) {
        rest.template shift<partial>(latch, gathering, sample - 1 - (gathered ? gangDelay : 0),
                                     frames);
        if constexpr (gathered) {
            gathering[Slot] = latch[Index];
        } else if (!partial || (sample >= 0 && sample < frames)) {
            latch[Index + 1] = first(latch[Index]);
        }
    }
    void deliver(scalar* latch, __m128 looked) {
        if constexpr (gathered) {
            latch[Index + 1] = _mm_cvtss_f32(_mm_shuffle_ps(looked, looked, Slot * 0x55));
        }
        rest.deliver(latch, looked);
    }
    void save(ChainStep* steps) const {
        first.save(steps[0]);
        rest.save(steps + 1);
    }
};

/// The interpolator's and the decimator's cascades, each in a gang of lanes of its own.
template <class Up, class Down>
class SeparateCascades {
public:
    static constexpr bool available = true;
    explicit SeparateCascades(const FusedChain& chain)
        : up(chain.up.stages, chain.up.coefficients, chain.up.state, chain.up.rowStride),
          down(chain.down.stages, chain.down.coefficients, chain.down.state,
               chain.down.rowStride),
          upLast(Up::zero()), downLast(Down::zero()) {}
    int32 upLag() const { return up.lag(); }
    int32 downLag() const { return down.lag(); }
    /// Step t of the interpolator and step n of the decimator, in a block of `frames`; a
    /// partial iteration leaves out a cascade whose pipeline is empty.
    template <bool partial>
    void advance(scalar upSample, int32 t, scalar downSample, int32 n, int32 frames) {
        if (!partial || n >= 0) {
            downLast = down.template advance<partial>(downSample, n, frames);
        }
        if (!partial || t < frames + up.lag()) {
            upLast = up.template advance<partial>(upSample, t, frames);
        }
    }
    scalar upOutput() const { return up.last(upLast); }
    scalar downOutput() const { return down.last(downLast); }
    void save() const {
        up.save();
        down.save();
    }

private:
    CascadeGroup<Up> up;
    CascadeGroup<Down> down;
    Up upLast;
    Down downLast;
};

/// A build without a joint form of the two cascades.
struct NoJointCascades {
    static constexpr bool available = false;
    static bool fits(int32, int32) { return false; }
};

/// f(0), f(1), …, f(Count − 1), written out.
template <int32 Count, int32 J = 0, class F>
void unrolled(const F& f) {
    if constexpr (J < Count) {
        f(J);
        unrolled<Count, J + 1>(f);
    }
}

/// Iteration t: the interpolator takes input step t; step k (0-based) works on sample
/// t − up.lag() − 1 − k − gangDelay·(lookups before k); the decimator takes sample
/// n = t − up.lag() − 1 − count − gangDelay·lookups and gives n − down.lag(). The iterations
/// where a pipeline fills or drains take the general path; the rest, the fast one. Everything
/// lives in locals whose address does not escape, so that the stores to `out` cannot alias
/// them.
/// Flattened: the whole loop must be one body for its state to stay in registers, beyond what
/// the compiler's inlining limits would allow for the unrolled steps.
template <class Tag, class Cascades, class Pipe, int32 count, class After>
[[gnu::flatten]] void runChain(FusedChain& chain, const scalar* in, scalar* out, int32 inFrames) {
    const int32 factor = chain.factor;
    const int32 frames = factor * inFrames;
    Cascades cascades(chain);
    Pipe pipe(chain.steps);
    After after(chain.after);
    const int32 upLag = cascades.upLag();
    const LookupGang<Tag> gang(chain.steps, count);
    scalar latch[count + 1] = {};
    scalar gathering[LookupGang<Tag>::width] = {};
    __m128 pending[gangDelay];
    for (__m128& looked : pending) {
        looked = _mm_setzero_ps();
    }
    const auto shift = [&]<bool partial>(int32 t) {
        pipe.template shift<partial>(latch, gathering, t - upLag - 1, frames);
        if constexpr (Pipe::lookups > 0) {
            pipe.deliver(latch, pending[gangDelay - 1]);
            for (int32 k = gangDelay - 1; k > 0; --k) {
                pending[k] = pending[k - 1];
            }
            pending[0] = gang.lookUp(
                _mm_setr_ps(gathering[0], gathering[1], gathering[2], gathering[3]));
        }
    };
    const int32 downStart = upLag + 1 + count + gangDelay * Pipe::lookups;
    const int32 lag = downStart + cascades.downLag();
    const int32 total = frames + lag;
    const auto general = [&](int32 t) {
        const int32 n = t - downStart;
        const scalar sample =
            t < frames && t % factor == 0 && in != nullptr ? in[t / factor] : 0.0f;
        cascades.template advance<true>(sample, t, n >= 0 && n < frames ? latch[count] : 0.0f,
                                        n, frames);
        const int32 m = t - lag;
        if (m >= 0 && m % factor == 0) {
            out[m / factor] = after(cascades.downOutput());
        }
        shift.template operator()<true>(t);
        if (t < frames + upLag) {
            latch[0] = cascades.upOutput();
        }
    };
    // The fast path runs whole input samples, `factor` steps each, from one that starts an
    // input sample; the general path takes the steps before and after.
    int32 t = 0;
    for (; t < total && (t < lag || t % factor != 0); ++t) {
        general(t);
    }
    const int32 outStep = lag % factor;
    int32 kept = (t - lag + factor - 1) / factor;
    const auto step = [&](int32 at, int32 j, scalar sample) {
        cascades.template advance<false>(sample, at, latch[count], at - downStart, frames);
        if (j == outStep) {
            out[kept++] = after(cascades.downOutput());
        }
        shift.template operator()<false>(at);
        latch[0] = cascades.upOutput();
    };
    const auto fast = [&]<int32 Factor>() {
        const int32 steps = Factor > 0 ? Factor : factor;
        for (; t < frames; t += steps) {
            const scalar sample = in != nullptr ? in[t / steps] : 0.0f;
            if constexpr (Factor > 0) {
                unrolled<Factor>([&](int32 j) { step(t + j, j, j == 0 ? sample : 0.0f); });
            } else {
                step(t, 0, sample);
                for (int32 j = 1; j < steps; ++j) {
                    step(t + j, j, 0.0f);
                }
            }
        }
    };
    // The default factor compiled as a constant, so that its steps unroll without their
    // phase bookkeeping.
    if (factor == 4) {
        fast.template operator()<4>();
    } else {
        fast.template operator()<0>();
    }
    for (; t < total; ++t) {
        general(t);
    }
    cascades.save();
    pipe.save(chain.steps);
    after.save(chain.after);
}

/// Tries each lane pair that holds the cascades (narrower first) and each compiled series of
/// step kinds; false when none fits.
template <class Tag, class Series, class After, class Narrow, class Wide, class Joint,
          bool execute>
bool fuseWith(FusedChain& chain, const scalar* in, scalar* out, int32 frames) {
    if (chain.stepCount != Series::count || !Series::Kinds::matches(chain.steps) ||
        chain.afterCount != After::count || !After::matches(chain.after)) {
        return false;
    }
    const auto fits = [](int32 stages, int32 width) { return stages >= 1 && stages <= width; };
    if (!fits(chain.up.stages, Wide::width) || !fits(chain.down.stages, Wide::width) ||
        chain.factor < 1) {
        return false;
    }
    if constexpr (execute) {
        if (frames <= 0) {
            return true;
        }
        const bool narrowUp = chain.up.stages <= Narrow::width;
        const bool narrowDown = chain.down.stages <= Narrow::width;
        using K = typename Series::Kinds;
        constexpr int32 count = Series::count;
        if constexpr (Joint::available) {
            if (Joint::fits(chain.up.stages, chain.down.stages)) {
                runChain<Tag, Joint, K, count, After>(chain, in, out, frames);
                return true;
            }
        }
        if (narrowUp && narrowDown) {
            runChain<Tag, SeparateCascades<Narrow, Narrow>, K, count, After>(chain, in, out,
                                                                             frames);
        } else if (narrowUp) {
            runChain<Tag, SeparateCascades<Narrow, Wide>, K, count, After>(chain, in, out, frames);
        } else if (narrowDown) {
            runChain<Tag, SeparateCascades<Wide, Narrow>, K, count, After>(chain, in, out, frames);
        } else {
            runChain<Tag, SeparateCascades<Wide, Wide>, K, count, After>(chain, in, out, frames);
        }
    }
    return true;
}

/// A compiled series of step kinds.
template <class... Steps>
struct CompiledSeries {
    using Kinds = StepPipe<0, 0, Steps...>;
    static_assert(Kinds::lookups <= 4, "one gang holds four lookups");
    static constexpr int32 count = sizeof...(Steps);
};

/// The series compiled in every build: a tube stage (lookup), a network (second order), a
/// gain, a tube stage, a coupling (first order), a tube stage, followed or not by a
/// DC blocker (first order) and a level (gain); and a lone tube stage.
template <class Tag, class Narrow, class Wide, class Joint, bool execute>
bool fusedChainIn(FusedChain& chain, const scalar* in, scalar* out, int32 frames) {
    using Stage = CompiledSeries<LookupStep<Tag>, SecondOrderStep<Tag>, GainStep<Tag>,
                                 LookupStep<Tag>, FirstOrderStep<Tag>, LookupStep<Tag>>;
    using Single = CompiledSeries<LookupStep<Tag>>;
    using Blocked = StepSeries<FirstOrderStep<Tag>, GainStep<Tag>>;
    using Plain = StepSeries<>;
    return fuseWith<Tag, Stage, Blocked, Narrow, Wide, Joint, execute>(chain, in, out, frames) ||
           fuseWith<Tag, Stage, Plain, Narrow, Wide, Joint, execute>(chain, in, out, frames) ||
           fuseWith<Tag, Single, Plain, Narrow, Wide, Joint, execute>(chain, in, out, frames);
}

} // namespace nodara::kernels::lanes
