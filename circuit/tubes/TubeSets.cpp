#include "circuit/tubes/TubeSets.h"

#include "runtime/Exceptions.h"

#include <map>
#include <utility>
#include <vector>

namespace nodara {

namespace {

using TubeSet = std::vector<std::pair<const char*, const char*>>;
using TubeSets = std::map<std::string, TubeSet>;

// Koren's parameters: anode law Kp, Kvb, mu, Ex, Kg (Kg1 and Kg2 for the screen of a pentode),
// grid law Igc·(Vgk + Vc)^N, and the ranges of the tables.
const TubeSets& triodeSets() {
    static const TubeSets sets = {
        {"12AX7",
         {{"Vct", "0.0"}, {"Kp", "600.0"}, {"Kvb", "300.0"}, {"mu", "100.0"}, {"Ex", "1.4"},
          {"Kg", "1060.0"}, {"Vc", "0.53"}, {"VgkMax", "4.0"}, {"VgkMin", "-8.0"},
          {"VpMax", "400.0"}, {"Igc", "3.14e-4"}, {"N", "3.0"}, {"DeltaVpk", "2"},
          {"DeltaVgk", "0.01"}}},
        {"12AY7",
         {{"Vct", "0.0"}, {"Kp", "409.96"}, {"Kvb", "300.0"}, {"mu", "44.16"}, {"Ex", "1.113"},
          {"Kg", "1192.4"}, {"Vc", "0.53"}, {"VgkMax", "8.0"}, {"VgkMin", "-11.0"},
          {"VpMax", "400.0"}, {"Igc", "3.14e-4"}, {"N", "3.0"}}},
    };
    return sets;
}

const TubeSets& pentodeSets() {
    const auto set = [](const char* kp, const char* kvb, const char* mu, const char* ex,
                        const char* kg1, const char* kg2, const char* vc, const char* vgkMax,
                        const char* vgkMin, const char* igc, const char* n) {
        return TubeSet{{"Vct", "0.0"}, {"Kp", kp},         {"Kvb", kvb},       {"mu", mu},
                       {"Ex", ex},     {"Kg1", kg1},       {"Kg2", kg2},       {"Vc", vc},
                       {"VgkMax", vgkMax}, {"VgkMin", vgkMin}, {"VpMax", "650.0"}, {"Igc", igc},
                       {"N", n}};
    };
    static const TubeSets sets = [&] {
        TubeSets made = {
            {"JJEL34", set("51.85", "25.4", "11.5", "1.35", "650.2", "6000.0", "0.53", "8.0",
                           "-8.0", "3.14e-4", "3.0")},
            {"5881", set("53.86", "14.4", "8.35", "1.484", "2507.1", "4500.0", "0.53", "8.0",
                         "-8.0", "3.14e-4", "3.0")},
            {"GE6L6GC", set("30.98", "19.4", "9.88", "1.442", "1686.6", "4500.0", "0.0", "20.0",
                            "-40.0", "1.0e-3", "1.23")},
            {"KT66", set("34.89", "22.3", "11.68", "1.197", "510.9", "4500.0", "0.53", "8.0",
                         "-8.0", "3.14e-4", "3.0")},
            {"GE6V6GT", set("38.07", "30.2", "12.67", "1.198", "915.0", "4500", "0.0", "30.0",
                            "-40.0", "2.2e-4", "1.5")},
        };
        made["GE6L6GC"].emplace_back("DeltaVgk", "0.01");
        made["GE6V6GT"].emplace_back("DeltaVgk", "0.01");
        return made;
    }();
    return sets;
}

void addSet(const TubeSets& sets, const std::string& type, const std::string& kind,
            Properties& properties) {
    auto found = sets.find(type);
    if (found == sets.end()) {
        throw InvalidArgumentException("Invalid built-in " + kind + " type: " + type);
    }
    for (const auto& [key, value] : found->second) {
        properties.emplace(key, value);
    }
}

} // namespace

void addTriodeSet(const std::string& type, Properties& properties) {
    addSet(triodeSets(), type, "triode", properties);
}

void addPentodeSet(const std::string& type, Properties& properties) {
    addSet(pentodeSets(), type, "pentode", properties);
}

} // namespace nodara
