#pragma once

#include "plugin/AudioEffect.h"

#include <string>
#include <string_view>

namespace torvane {

/// Parses the amplifier document into a driver and builds the effect around it, with
/// flush-to-zero and denormals-are-zero set meanwhile; the caller's mode comes back. A document fault leaves as a plain
/// NodaraException; the exported entry point turns it into a null effect.
AudioEffect* createEffectInstance(vst2::AudioMasterCallback audioMaster);
/// The same with another document, so that start-up faults can be tried.
AudioEffect* createEffectInstance(vst2::AudioMasterCallback audioMaster, std::string_view document);

/// Writes a start-up failure on stderr, once per distinct message.
void reportStartUpFailure(const std::string& message);

} // namespace torvane

extern "C" {
/// The module's entry point: null without a usable host or when start-up fails.
__attribute__((visibility("default"))) vst2::AEffect* VSTPluginMain(vst2::AudioMasterCallback audioMaster);
}
