#pragma once

#include <cstddef>
#include <string>

namespace nodara {

/// The bytes of a resource built into the program, looked up by name and type among the
/// EmbeddedResources. The bytes belong to the program; this only points at them.
class DllResourceReader {
public:
    /// Finds the resource; an unknown name or type throws.
    DllResourceReader(const std::string& name, const std::string& type);

    const char* data() const { return bytes; }
    std::size_t size() const { return length; }

private:
    const char* bytes;
    std::size_t length;
};

} // namespace nodara
