#include "description/DSPElementFactory.h"

#include "dsp/recursive/BiQuad.h"
#include "dsp/convolution/Convolver.h"
#include "dsp/recursive/DifferentialFilter.h"
#include "dsp/recursive/FirstOrderIIR.h"
#include "dsp/elements/Gain.h"
#include "dsp/fir/Fir.h"
#include "dsp/recursive/Iir.h"
#include "dsp/resampling/IirDecimator.h"
#include "dsp/resampling/IirInterpolator.h"
#include "dsp/resampling/polyphase/PolyphaseDownsampler.h"
#include "dsp/resampling/polyphase/PolyphaseUpsampler.h"
#include "dsp/resampling/polyphase/ResamplingDecimator.h"
#include "dsp/resampling/polyphase/ResamplingUpsampler.h"
#include "dsp/elements/LookupTableFilter.h"
#include "dsp/elements/Mixer.h"
#include "dsp/elements/Relaxation.h"
#include "dsp/elements/Switch.h"
#include "dsp/recursive/ThirdOrderIIR.h"
#include "dsp/convolution/WaveConvolver.h"
#include "runtime/Exceptions.h"

#include <functional>
#include <unordered_map>

namespace nodara {

namespace {

using Maker = std::function<Filter*()>;

template <class T>
Maker maker() {
    return [] { return new T(); };
}

const std::unordered_map<std::string, Maker>& builtInTable() {
    static const std::unordered_map<std::string, Maker> table = {
        {"BiQuad", maker<BiQuad>()},
        {"ThirdOrderIIR", maker<ThirdOrderIIR>()},
        {"FirstOrderIIR", maker<FirstOrderIIR>()},
        {"Iir", maker<Iir>()},
        {"Gain", maker<Gain>()},
        {"DifferentialFilter", maker<DifferentialFilter>()},
        {"LookupTableFilter", maker<LookupTableFilter>()},
        {"Fir", maker<Fir>()},
        {"PolyphaseUpsampler", maker<PolyphaseUpsampler>()},
        {"PolyphaseDownsampler", maker<PolyphaseDownsampler>()},
        {"ResamplingUpsampler", maker<ResamplingUpsampler>()},
        {"ResamplingDecimator", maker<ResamplingDecimator>()},
        {"IirInterpolator", maker<IirInterpolator>()},
        {"IirDecimator", maker<IirDecimator>()},
        {"Switch", maker<Switch>()},
        {"Mixer", maker<Mixer>()},
        {"Relaxation", maker<Relaxation>()},
        {"Convolver", maker<Convolver>()},
        {"WaveConvolver", maker<WaveConvolver>()},
    };
    return table;
}

} // namespace

bool DSPElementFactory::isBuiltIn(const std::string& type) {
    return builtInTable().count(type) != 0;
}

Filter* DSPElementFactory::create(const std::string& type) {
    const auto& table = builtInTable();
    if (auto found = table.find(type); found != table.end()) {
        return found->second();
    }
    for (const auto& plugin : plugins) {
        if (plugin->hasType(type)) {
            return plugin->create(type);
        }
    }
    throw NodaraException("Unknown element type: " + type);
}

void DSPElementFactory::addPluginFactory(const std::shared_ptr<PluginDSPElementFactory>& factory) {
    plugins.push_back(factory);
}

} // namespace nodara
