#include "runtime/Properties.h"

#include <boost/tokenizer.hpp>

#include <cstdlib>

namespace nodara {

const PropertyParser<scalar> scalarParser = [](const std::string& text) {
    return static_cast<scalar>(std::atof(text.c_str()));
};
const PropertyParser<int32> intParser = [](const std::string& text) {
    return static_cast<int32>(std::atoi(text.c_str()));
};
const PropertyParser<double> doubleParser = [](const std::string& text) {
    return std::atof(text.c_str());
};
const PropertyParser<bool> boolParser = [](const std::string& text) { return text == "true"; };
const PropertyParser<std::string> stringParser = [](const std::string& text) { return text; };

void splitProperty(const std::string& text, const std::string& separators,
                   std::vector<std::string>& out) {
    boost::char_separator<char> separator(separators.c_str());
    boost::tokenizer<boost::char_separator<char>> tokens(text, separator);
    out.assign(tokens.begin(), tokens.end());
}

void splitScalars(const std::string& text, const std::string& separators,
                  std::vector<scalar>& out) {
    std::vector<std::string> pieces;
    splitProperty(text, separators, pieces);
    out.clear();
    out.reserve(pieces.size());
    for (const auto& piece : pieces) {
        out.push_back(scalarParser(piece));
    }
}

} // namespace nodara
