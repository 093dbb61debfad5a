#include "plugin/PluginEntry.h"

#include "amp/AmplifierDocument.h"
#include "amp/Amplifier.h"
#include "plugin/FloatingPointMode.h"
#include "plugin/TorvaneVST2Effect.h"
#include "runtime/Exceptions.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <string>

namespace torvane {

void reportStartUpFailure(const std::string& message) {
    static std::mutex guard;
    static std::string last;
    std::lock_guard<std::mutex> lock(guard);
    if (message != last) {
        last = message;
        std::fprintf(stderr, "Torvane: start-up failed: %s\n", message.c_str());
    }
}

AudioEffect* createEffectInstance(vst2::AudioMasterCallback audioMaster, std::string_view document) {
    // Building the filters and tables runs flushed, as the blocks do.
    FlushDenormals guard;
    try {
        return new TorvaneVST2Effect(audioMaster, makeProductDriver(document));
    } catch (const nodara::NodaraException& error) {
        throw nodara::NodaraException(error.getMessage());
    }
}

AudioEffect* createEffectInstance(vst2::AudioMasterCallback audioMaster) {
    return createEffectInstance(audioMaster, amplifierDocument);
}

} // namespace torvane

