#pragma once

#include "support/Tool.h"

#include <dlfcn.h>

#include <sstream>
#include <string>
#include <vector>

namespace nodara::testing {

/// The path of an effect built from tests/plugins/, such as "test_gain_plugin".
inline std::string testPlugin(const std::string& name) {
    return buildDirectory() + "/test-plugins/" + name + ".so";
}

/// The calls a test effect logged, one per line. The log holds the library open with a handle
/// of its own, so that it survives the host's close and unload.
class CallLog {
public:
    explicit CallLog(const std::string& name = "test_gain_plugin")
        : handle(::dlopen(testPlugin(name).c_str(), RTLD_NOW | RTLD_LOCAL)) {}
    ~CallLog() {
        if (handle != nullptr) {
            ::dlclose(handle);
        }
    }
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    /// The calls since the effect's entry point last ran.
    std::vector<std::string> lines() const {
        using Calls = const char* (*)();
        const auto calls =
            handle ? reinterpret_cast<Calls>(::dlsym(handle, "testPluginCalls")) : nullptr;
        std::vector<std::string> result;
        std::istringstream text(calls ? calls() : "");
        for (std::string line; std::getline(text, line);) {
            result.push_back(line);
        }
        return result;
    }

    /// The calls that start with `prefix`.
    std::vector<std::string> linesStartingWith(const std::string& prefix) const {
        std::vector<std::string> result;
        for (const auto& line : lines()) {
            if (line.rfind(prefix, 0) == 0) {
                result.push_back(line);
            }
        }
        return result;
    }

private:
    void* handle;
};

} // namespace nodara::testing
