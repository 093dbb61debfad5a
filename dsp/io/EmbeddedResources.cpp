#include "dsp/io/EmbeddedResources.h"

#include <map>
#include <mutex>
#include <utility>

namespace nodara {

namespace {

using Key = std::pair<std::string, std::string>;

struct Registry {
    std::mutex lock;
    std::map<Key, EmbeddedResources::Blob> blobs;
};

/// Never destroyed, so that lookups during static destruction still work.
Registry& registry() {
    static auto* instance = new Registry();
    return *instance;
}

} // namespace

void EmbeddedResources::add(const std::string& name, const std::string& type, const void* data,
                            std::size_t size) {
    Registry& shared = registry();
    std::lock_guard guard(shared.lock);
    shared.blobs[Key(name, type)] = Blob{static_cast<const char*>(data), size};
}

std::optional<EmbeddedResources::Blob> EmbeddedResources::find(const std::string& name,
                                                               const std::string& type) {
    Registry& shared = registry();
    std::lock_guard guard(shared.lock);
    if (auto found = shared.blobs.find(Key(name, type)); found != shared.blobs.end()) {
        return found->second;
    }
    return std::nullopt;
}

} // namespace nodara
