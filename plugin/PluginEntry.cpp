#include "plugin/PluginEntry.h"

#include "amp/AmplifierDocument.h"
#include "amp/TorvaneFactory.h"
#include "plugin/TorvaneVST2Effect.h"
#include "runtime/Exceptions.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <sstream>
#include <string>
#include <xmmintrin.h>

namespace torvane {

namespace {

void setDenormalFlushing() {
    _mm_setcsr(_mm_getcsr() | 0x8000);
    _mm_setcsr(_mm_getcsr() | 0x0040);
}

} // namespace

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
    setDenormalFlushing();
    try {
        auto driver = std::make_shared<nodara::Driver>();
        auto factories = std::make_shared<std::vector<std::shared_ptr<nodara::PluginDSPElementFactory>>>();
        factories->push_back(std::make_shared<TorvaneFactory>());
        driver->setPluginElementFactories(factories);
        std::istringstream text{std::string(document)};
        driver->init(text);
        return new TorvaneVST2Effect(audioMaster, driver);
    } catch (const nodara::NodaraException& error) {
        throw nodara::NodaraException(error.getMessage());
    }
}

AudioEffect* createEffectInstance(vst2::AudioMasterCallback audioMaster) {
    return createEffectInstance(audioMaster, amplifierDocument);
}

} // namespace torvane

