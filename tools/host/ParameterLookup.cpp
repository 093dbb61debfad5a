#include "tools/host/ParameterLookup.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace torvane::host {

namespace {

constexpr size_t reportedNameLength = 8;

std::string foldedPrefix(const std::string& text) {
    std::string prefix = text.substr(0, reportedNameLength);
    std::transform(prefix.begin(), prefix.end(), prefix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return prefix;
}

int indexWhere(const std::vector<std::string>& names, auto matches) {
    const auto found = std::find_if(names.begin(), names.end(), matches);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

/// A whole number below `count`, or -1.
int indexNumber(const std::string& text, size_t count) {
    const bool digits =
        !text.empty() && text.size() <= 9 &&
        std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    if (!digits) {
        return -1;
    }
    const size_t index = std::stoul(text);
    return index < count ? static_cast<int>(index) : -1;
}

std::string listOf(const std::vector<std::string>& names) {
    if (names.empty()) {
        return "it has no parameters";
    }
    std::string list = "its parameters are ";
    for (size_t i = 0; i < names.size(); ++i) {
        list += (i == 0 ? "\"" : ", \"") + names[i] + "\"";
    }
    return list + " (or an index from 0 to " + std::to_string(names.size() - 1) + ")";
}

} // namespace

int findParameter(const std::vector<std::string>& names, const std::string& wanted) {
    int index = indexWhere(names, [&](const std::string& name) { return name == wanted; });
    if (index < 0) {
        const std::string prefix = foldedPrefix(wanted);
        index = indexWhere(names,
                           [&](const std::string& name) { return foldedPrefix(name) == prefix; });
    }
    if (index < 0) {
        index = indexNumber(wanted, names.size());
    }
    if (index < 0) {
        throw std::runtime_error("no parameter \"" + wanted + "\"; " + listOf(names));
    }
    return index;
}

} // namespace torvane::host
