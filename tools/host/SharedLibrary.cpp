#include "tools/host/SharedLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

namespace torvane::host {

SharedLibrary::SharedLibrary(const std::string& path) {
    handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* reason = ::dlerror();
        throw std::runtime_error("plug-in " + path + ": cannot be loaded: " +
                                 (reason != nullptr ? reason : "unknown reason"));
    }
}

SharedLibrary::~SharedLibrary() { ::dlclose(handle); }

void* SharedLibrary::symbol(const char* name) const {
    ::dlerror();
    return ::dlsym(handle, name);
}

} // namespace torvane::host
