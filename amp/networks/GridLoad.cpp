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
}

void GridLoad::reset() {
    y1 = 0.0f;
    y2 = 0.0f;
    lastG = 0.0;
}

} // namespace torvane
