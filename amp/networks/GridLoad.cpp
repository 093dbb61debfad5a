#include "amp/networks/GridLoad.h"

#include "runtime/DSPContext.h"

#include <emmintrin.h>

#include <algorithm>

namespace torvane {

GridLoad::GridLoad(std::span<const float> resistance, const char* vinMin, const char* vinMax,
                   const char* deltaV)
    : lookup(std::make_unique<nodara::LookupTableFilter>()) {
    auto context = std::make_shared<nodara::DSPContext>();
    lookup->init("yd", {{"VinMin", vinMin}, {"VinMax", vinMax}, {"DeltaV", deltaV}}, context);
    auto conductance = std::make_shared<std::vector<nodara::scalar>>();
    conductance->reserve(resistance.size());
    for (float ohms : resistance) {
        conductance->push_back(1.0f / ohms);
    }
    lookup->propertyChanged("Vout", conductance);
    // Index i reads entries i and i + 1: both must be the first one.
    const auto& table = *conductance;
    const auto last = static_cast<nodara::int32>(table.size()) - 1;
    while (flatEnd < last && table[static_cast<size_t>(flatEnd)] == table[0] &&
           table[static_cast<size_t>(flatEnd) + 1] == table[0]) {
        ++flatEnd;
    }
    flatConductance = table[0];
}

// Sample j predicts from the two outputs before it: 2·o[j−1] − o[j−2], where o[−1] is
// `lastOutput` and o[−2] the last output seen before.
size_t GridLoad::unchangedFrames(nodara::scalar lastOutput, const nodara::scalar* outputs,
                                 size_t frames) {
    const auto before = [&](size_t j, size_t back) {
        return j >= back ? outputs[j - back] : (j + 1 == back ? lastOutput : y1);
    };
    const bool flatStands = stands(flatConductance);
    const auto standing = [&](size_t j) {
        const nodara::scalar predicted = 2.0f * before(j, 1) - before(j, 2);
        return lookup->indexOf(predicted) < flatEnd ? flatStands
                                                    : stands(lookup->lookupOne(predicted));
    };
    const size_t head = std::min<size_t>(frames, 2);
    size_t kept = 0;
    while (kept < head && standing(kept)) {
        ++kept;
    }
    if (kept == head && flatStands) {
        kept = flatFrom(outputs, kept, frames);
    }
    while (kept >= head && kept < frames && standing(kept)) {
        ++kept;
    }
    if (kept > 0) {
        y2 = before(kept - 1, 2);
        y1 = before(kept - 1, 1);
    }
    return kept;
}

// Four predictions at a time, with the arithmetic of `next` and of the lookup's index: a quiet
// signal stays on the flat start for whole stretches.
size_t GridLoad::flatFrom(const nodara::scalar* outputs, size_t j, size_t frames) const {
    const __m128 two = _mm_set1_ps(2.0f);
    const __m128 low = _mm_set1_ps(lookup->getVinMin());
    const __m128 scale = _mm_set1_ps(lookup->getInverse());
    const __m128i end = _mm_set1_epi32(flatEnd);
    for (; j + 4 <= frames; j += 4) {
        const __m128 newer = _mm_loadu_ps(outputs + j - 1);
        const __m128 predicted = _mm_sub_ps(_mm_mul_ps(two, newer), _mm_loadu_ps(outputs + j - 2));
        const __m128i index = _mm_cvttps_epi32(_mm_mul_ps(scale, _mm_sub_ps(predicted, low)));
        if (_mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(index, end))) != 0xF) {
            break;
        }
    }
    return j;
}

void GridLoad::reset() {
    y1 = 0.0f;
    y2 = 0.0f;
    lastG = 0.0;
}

} // namespace torvane
