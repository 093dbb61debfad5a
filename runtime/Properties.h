#pragma once

#include "runtime/Types.h"

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace nodara {

/// The attributes of one document node, unparsed; each element reads what it needs.
using Properties = std::unordered_map<std::string, std::string>;

template <class T>
using PropertyParser = std::function<T(const std::string&)>;

/// Text conversions of the document: atof/atoi without a check of the form.
extern const PropertyParser<scalar> scalarParser;
extern const PropertyParser<int32> intParser;
extern const PropertyParser<double> doubleParser;
/// True only for the exact text "true".
extern const PropertyParser<bool> boolParser;
extern const PropertyParser<std::string> stringParser;

/// Reads `name` into `out`, or throws a copy of `missing` when the key is absent.
template <class T, class Missing>
void requireProperty(const Properties& properties, const std::string& name, T& out,
                     const PropertyParser<T>& parser, const Missing& missing) {
    auto found = properties.find(name);
    if (found == properties.end()) {
        throw missing;
    }
    out = parser(found->second);
}

/// Reads `name` into `out` when present; returns whether it was.
template <class T>
bool readProperty(const Properties& properties, const std::string& name, T& out,
                  const PropertyParser<T>& parser) {
    auto found = properties.find(name);
    if (found == properties.end()) {
        return false;
    }
    out = parser(found->second);
    return true;
}

/// Splits at any of `separators`, dropping the separators and empty pieces.
void splitProperty(const std::string& text, const std::string& separators,
                   std::vector<std::string>& out);

/// Splits like splitProperty and converts each piece with atof.
void splitScalars(const std::string& text, const std::string& separators,
                  std::vector<scalar>& out);

/// The list separator of the system document.
inline constexpr const char* listSeparator = "|";

} // namespace nodara
