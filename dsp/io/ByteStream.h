#pragma once

#include <cstddef>
#include <istream>
#include <memory>

namespace nodara {

/// A seekable input stream over `size` bytes at `data`, which must outlive it. Allocates.
std::unique_ptr<std::istream> openByteStream(const char* data, std::size_t size);

} // namespace nodara
