#pragma once

#include <string>

namespace torvane::host {

/// A shared object opened with dlopen (RTLD_NOW | RTLD_LOCAL) and closed on destruction.
/// RTLD_LOCAL keeps the library's symbols out of the process's global scope, so two plug-ins
/// built from the same code do not bind to each other.
class SharedLibrary {
public:
    /// Opens `path`; a std::runtime_error naming it carries dlerror's reason.
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    /// The address of an exported symbol, or null when the library exports no such name.
    void* symbol(const char* name) const;

private:
    void* handle = nullptr;
};

} // namespace torvane::host
