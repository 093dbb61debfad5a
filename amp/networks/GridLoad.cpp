#include "amp/networks/GridLoad.h"

#include "runtime/DSPContext.h"

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
    size_t kept = 0;
    for (; kept < frames; ++kept) {
        const nodara::scalar predicted = 2.0f * before(kept, 1) - before(kept, 2);
        const bool standing = lookup->indexOf(predicted) < flatEnd
                                  ? flatStands
                                  : stands(lookup->lookupOne(predicted));
        if (!standing) {
            break;
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
