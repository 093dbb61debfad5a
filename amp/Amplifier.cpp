#include "amp/Amplifier.h"

#include "amp/AmplifierDocument.h"
#include "amp/EmbeddedData.h"
#include "amp/networks/FilterWrapper.h"
#include "amp/TorvaneFactory.h"
#include "amp/networks/V2V3Coupling.h"
#include "amp/networks/V2V3PropertiesHandler.h"
#include "amp/networks/VolCtrlPropertiesHandler.h"
#include "amp/networks/VolumeControl.h"
#include "description/SystemLoader.h"
#include "dsp/elements/LookupTableFilter.h"
#include "dsp/recursive/BiQuad.h"
#include "dsp/recursive/FirstOrderIIR.h"
#include "dsp/convolution/WaveConvolver.h"
#include "runtime/Context.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <sstream>

namespace torvane {

using nodara::Driver;
using nodara::Element;

namespace {

constexpr const char* lowCpuGraphs[] = {"V2-out-Rg-lowCPU", "V2-out-Rg-lowCPU_S"};
constexpr const char* fullGraphs[] = {"V2-out-Rg", "V2-out-Rg_S"};

Element* elementOf(Driver& driver, const std::string& graph, const std::string& element) {
    return driver.getGraph(graph)->getContext()->getElement(element);
}

template <class T>
T& elementAs(Driver& driver, const std::string& graph, const std::string& element) {
    auto* typed = dynamic_cast<T*>(elementOf(driver, graph, element));
    if (typed == nullptr) {
        throw nodara::NodaraException("Amplifier set-up: element " + element + " of graph " +
                                      graph + " has an unexpected type.");
    }
    return *typed;
}

void setupVolumeControls(Driver& driver) {
    const auto grid = embeddedTable("grid.VolumeControl").values;
    for (const char* graph : lowCpuGraphs) {
        elementAs<FilterWrapper>(driver, graph, "VC").setCalculator(std::make_shared<VolumeControl>());
    }
    for (const char* graph : fullGraphs) {
        auto& filter = elementAs<nodara::BiQuad>(driver, graph, "VC");
        filter.setPropertiesHandler(std::make_shared<VolCtrlPropertiesHandler>(&filter, grid));
    }
}

void setupCouplings(Driver& driver) {
    const auto grid = embeddedTable("grid.V2V3").values;
    for (const char* graph : lowCpuGraphs) {
        elementAs<FilterWrapper>(driver, graph, "V2V3").setCalculator(std::make_shared<V2V3Coupling>());
    }
    for (const char* graph : fullGraphs) {
        auto& filter = elementAs<nodara::FirstOrderIIR>(driver, graph, "V2V3");
        filter.setPropertiesHandler(std::make_shared<V2V3PropertiesHandler>(&filter, grid));
    }
}

/// Installs a stage curve into the element of a graph and its stereo twin, which share it.
void loadStage(Driver& driver, const std::string& graph, const std::string& element,
               const std::string& tableName) {
    const EmbeddedTable& table = embeddedTable(tableName);
    const nodara::Properties range = {{"VinMin", nodara::concat(table.first)},
                                      {"VinMax", nodara::concat(table.last)},
                                      {"DeltaV", nodara::concat(table.step)}};
    auto values = std::make_shared<std::vector<nodara::scalar>>(table.values.begin(), table.values.end());
    for (const std::string& name : {graph, graph + "_S"}) {
        auto& stage = elementAs<nodara::LookupTableFilter>(driver, name, element);
        stage.propertiesChanged(range);
        stage.propertyChanged("Vout", values);
    }
}

void setupLookupTables(Driver& driver) {
    loadStage(driver, "V1", "V1", "V1");
    loadStage(driver, "V2-out-Rg-lowCPU", "V2", "V2.lowCPU");
    loadStage(driver, "V2-out-Rg", "V2", "V2.full");
    loadStage(driver, "V2-out-Rg-lowCPU", "V3", "V3.lowCPU");
    loadStage(driver, "V2-out-Rg", "V3", "V3.full");
}

void setupImpulseResponses(Driver& driver) {
    const auto& response = embeddedTable("u87").values;
    auto samples = std::make_shared<std::vector<nodara::scalar>>(response.begin(), response.end());
    for (const char* graph : {"WaveConvolver", "WaveConvolver_S"}) {
        elementAs<nodara::WaveConvolver>(driver, graph, "WV")
            .addImpulseResponse("u87", cabinetResponseRate, samples);
    }
}

using Map = std::function<nodara::scalar(nodara::scalar)>;

/// A host may send anything: a knob stands between 0 and 1, and a value that is not a number
/// leaves it at 0, so no map ever hands the model a value it was not built for.
nodara::scalar knob(nodara::scalar value) {
    return std::isnan(value) ? 0.0f : std::clamp(value, 0.0f, 1.0f);
}

std::vector<Map> sameForAll(size_t targets, Map map) {
    return std::vector<Map>(targets, [map](nodara::scalar v) { return map(knob(v)); });
}

/// 2, 4 or 8: 2 to the power 2v + 1 at the nearest of the positions 0, 0.5 and 1, so that every
/// position between them gives a factor the oversampling stages run at.
nodara::scalar oversamplingFactor(nodara::scalar v) {
    return v < 0.25f ? 2.0f : (v < 0.75f ? 4.0f : 8.0f);
}

/// The maps of one control, target by target; a single map serves every target.
std::vector<Map> mapsFor(const std::string& control, size_t targets) {
    using nodara::scalar;
    if (control == "Gain") {
        return sameForAll(targets, [](scalar v) { return v < 0.5f ? 0.2f * v : (v - 0.5f) * 1.8f + 0.1f; });
    }
    if (control == "Feedback") {
        return sameForAll(targets, [](scalar v) { return 1.0f - 0.39f * v; });
    }
    if (control == "Vol") {
        return sameForAll(targets, [](scalar v) { return 0.002f * v; });
    }
    if (control == "Oversampling") {
        return sameForAll(targets, oversamplingFactor);
    }
    if (control == "Cabinet" || control == "Stereo") {
        return sameForAll(targets, [](scalar v) { return 1.0f - v; });
    }
    if (control == "Input") {
        return sameForAll(targets, [](scalar v) { return v <= 0.5f ? 2.0f * v : static_cast<scalar>(6.0 * v - 2.0); });
    }
    if (control == "CPU") {
        // Targets 2 and 5 are Off of the full-quality graphs: on when the CPU switch is up.
        std::vector<Map> maps(targets, [](scalar v) { return knob(v); });
        for (size_t target : {size_t{2}, size_t{5}}) {
            if (target < targets) {
                maps[target] = [](scalar v) { return 1.0f - knob(v); };
            }
        }
        return maps;
    }
    return {};
}

} // namespace

std::shared_ptr<Driver> makeProductDriver(std::string_view document) {
    auto driver = std::make_shared<Driver>();
    std::istringstream text{std::string(document)};
    nodara::loadSystem(*driver, text, {std::make_shared<TorvaneFactory>()});
    return driver;
}

std::shared_ptr<Driver> makeAmplifierDriver() { return makeProductDriver(amplifierDocument); }

void setUpAmplifier(Driver& driver) {
    setupVolumeControls(driver);
    setupCouplings(driver);
    setupLookupTables(driver);
    setupImpulseResponses(driver);
}

void installValueMaps(const Driver::ControlList& controls) {
    for (const auto& control : *controls) {
        const auto& targets = *control->getProperties();
        const auto maps = mapsFor(control->getName(), targets.size());
        for (size_t i = 0; i < maps.size(); ++i) {
            control->setMap(targets[i], maps[i]);
        }
    }
}

std::string amplifierRateProblem(double rate) {
    if (rate > lowestAmplifierRate && rate <= highestAmplifierRate) {
        return {};
    }
    std::ostringstream message;
    message << "the amplifier runs at sample rates above " << lowestAmplifierRate
            << " Hz and up to " << highestAmplifierRate << " Hz, not " << rate << " Hz";
    return message.str();
}

std::shared_ptr<Driver> makeAmplifier() {
    auto driver = makeAmplifierDriver();
    setUpAmplifier(*driver);
    installValueMaps(driver->getControls());
    return driver;
}

} // namespace torvane
