#include "amp/networks/GridLoad.h"

#include "runtime/DSPContext.h"

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
}

// Sample j predicts from the two outputs before it: 2·o[j−1] − o[j−2], where o[−1] is
// `lastOutput` and o[−2] the last output seen before. The predictions go through the table in
// pieces that fit on the stack.
size_t GridLoad::unchangedFrames(nodara::scalar lastOutput, const nodara::scalar* outputs,
                                 size_t frames) {
    constexpr size_t piece = 64;
    nodara::scalar predicted[piece];
    nodara::scalar conductance[piece];
    const auto before = [&](size_t j, size_t back) {
        return j >= back ? outputs[j - back] : (j + 1 == back ? lastOutput : y1);
    };
    size_t kept = 0;
    for (size_t start = 0; start < frames && kept == start; start += piece) {
        const size_t count = std::min(piece, frames - start);
        for (size_t j = 0; j < count; ++j) {
            predicted[j] = 2.0f * before(start + j, 1) - before(start + j, 2);
        }
        lookup->process(predicted, conductance, count);
        while (kept < start + count && stands(conductance[kept - start])) {
            ++kept;
        }
    }
    if (kept > 0) {
        y2 = before(kept - 1, 2);
        y1 = before(kept - 1, 1);
    }
    return kept;
}

void GridLoad::reset() {
    y1 = 0.0f;
    y2 = 0.0f;
    lastG = 0.0;
}

} // namespace torvane
