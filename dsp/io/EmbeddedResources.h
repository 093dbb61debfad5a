#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace nodara {

/// Named, typed blobs of bytes built into the program: what module resources are on other
/// platforms. The program registers its blobs at start-up; names and types are
/// case-sensitive. Every operation is safe from any thread.
class EmbeddedResources {
public:
    struct Blob {
        const char* data;
        std::size_t size;
    };

    /// Registers `size` bytes at `data` as `name` of `type`, replacing an earlier blob of that
    /// name and type. The bytes are not copied: they must stay valid, as static data does.
    /// Allocates.
    static void add(const std::string& name, const std::string& type, const void* data,
                    std::size_t size);
    /// The blob registered as `name` of `type`, if any.
    static std::optional<Blob> find(const std::string& name, const std::string& type);
};

} // namespace nodara
