#include "dsp/io/ByteStream.h"

#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/stream.hpp>

namespace nodara {

std::unique_ptr<std::istream> openByteStream(const char* data, std::size_t size) {
    using ArrayStream = boost::iostreams::stream<boost::iostreams::array_source>;
    return std::make_unique<ArrayStream>(data, size);
}

} // namespace nodara
