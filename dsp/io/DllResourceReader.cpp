#include "dsp/io/DllResourceReader.h"

#include "dsp/io/EmbeddedResources.h"
#include "runtime/Exceptions.h"

namespace nodara {

DllResourceReader::DllResourceReader(const std::string& name, const std::string& type) {
    const auto blob = EmbeddedResources::find(name, type);
    if (!blob) {
        throw NodaraException("Could not locate Resource File");
    }
    bytes = blob->data;
    length = blob->size;
}

} // namespace nodara
