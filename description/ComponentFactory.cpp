#include "description/ComponentFactory.h"

#include "circuit/components/Battery.h"
#include "circuit/components/Capacitor.h"
#include "circuit/components/IdealAmplifier.h"
#include "circuit/components/LookupTableAmp.h"
#include "circuit/components/OpAmp.h"
#include "circuit/components/Potentiometer.h"
#include "circuit/components/Resistor.h"
#include "circuit/components/VoltageInputSource.h"
#include "circuit/tubes/Pentode.h"
#include "circuit/tubes/Triode.h"
#include "runtime/Exceptions.h"

#include <functional>
#include <unordered_map>

namespace nodara {

namespace {

using Maker = std::function<Component*()>;

template <class T>
Maker maker() {
    return [] { return new T(); };
}

const std::unordered_map<std::string, Maker>& table() {
    static const std::unordered_map<std::string, Maker> makers = {
        {"Battery", maker<Battery>()},
        {"VoltageInputSource", maker<VoltageInputSource>()},
        {"Resistor", maker<Resistor>()},
        {"Capacitor", maker<Capacitor>()},
        {"Potentiometer", maker<Potentiometer>()},
        {"IdealAmplifier", maker<IdealAmplifier>()},
        {"IdealDifferentialAmplifier", maker<IdealDifferentialAmplifier>()},
        {"OpAmp", maker<OpAmp>()},
        {"LookupTableAmp", maker<LookupTableAmp>()},
        {"Triode", maker<Triode>()},
        {"Pentode", maker<Pentode>()},
    };
    return makers;
}

} // namespace

Component* ComponentFactory::create(const std::string& type) {
    const auto& makers = table();
    if (auto found = makers.find(type); found != makers.end()) {
        return found->second();
    }
    throw NodaraException("Unknown element type: " + type);
}

} // namespace nodara
