#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nodara {

/// The whole contents of a file, read at construction. Not while processing; reads the file
/// and allocates.
class FileReader {
public:
    /// Reads the file `name` in binary mode; a missing, empty or short file throws.
    explicit FileReader(const std::string& name);

    const char* data() const { return bytes.data(); }
    std::size_t size() const { return bytes.size(); }

private:
    std::vector<char> bytes;
};

} // namespace nodara
