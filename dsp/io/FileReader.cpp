#include "dsp/io/FileReader.h"

#include "runtime/Exceptions.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace nodara {

FileReader::FileReader(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    // A directory opens here like a file, and then claims an absurd length.
    std::error_code ignored;
    if (!file || std::filesystem::is_directory(name, ignored)) {
        throw NodaraException("Cannot find file with name: " + name);
    }
    file.seekg(0, std::ios::end);
    const std::streamoff length = file.tellg();
    if (!file || length < 0) {
        throw NodaraException("FileReader: Cannot determine length of the file " + name);
    }
    if (length == 0) {
        throw NodaraException("FileReader: Empty file " + name);
    }
    file.seekg(0, std::ios::beg);
    bytes.resize(static_cast<size_t>(length));
    file.read(bytes.data(), length);
    if (file.gcount() != length) {
        throw NodaraException(
            concat("FileReader: Read only ", file.gcount(), " out of ", length, " characters."));
    }
}

} // namespace nodara
