#include "tools/torvane/commands/Commands.h"

#include "filterdesign/Design.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

namespace torvane::cli {

namespace {

using nodara::filterdesign::Options;

Options namedOption(const std::map<std::string, Options>& names, const std::string& text,
                    const std::string& flag) {
    const auto found = names.find(text);
    if (found == names.end()) {
        std::string known;
        for (const auto& [name, option] : names) {
            known += (known.empty() ? "" : ", ") + name;
        }
        throw UsageError(flag + " must be one of " + known + ", not \"" + text + "\"");
    }
    return found->second;
}

Options familyOption(const std::string& text) {
    static const std::map<std::string, Options> names = {
        {"bessel", Options::Bessel},
        {"butterworth", Options::Butterworth},
        {"chebyshev", Options::Chebyshev},
    };
    return namedOption(names, text, "--family");
}

Options bandOption(const std::string& text) {
    static const std::map<std::string, Options> names = {
        {"lowpass", Options::LowPass},
        {"highpass", Options::HighPass},
        {"bandpass", Options::BandPass},
        {"bandstop", Options::BandStop},
    };
    return namedOption(names, text, "--band");
}

/// Any whole number: the design itself judges the order's range, with its own message.
nodara::int32 parseOrder(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
        throw UsageError("--order must be a whole number, not \"" + text + "\"");
    }
    return static_cast<nodara::int32>(value);
}

/// The document's list form; 9 significant digits read back to the same float.
std::string documentList(const std::vector<nodara::scalar>& values) {
    std::ostringstream text;
    text << std::setprecision(9);
    for (std::size_t i = 0; i < values.size(); ++i) {
        text << (i == 0 ? "" : "|") << values[i];
    }
    return text.str();
}

} // namespace

int designCommand(Arguments& arguments) {
    const auto family = arguments.takeOption("--family");
    const auto order = arguments.takeOption("--order");
    const auto fc = arguments.takeOption("--fc");
    const auto fc2 = arguments.takeOption("--fc2");
    const auto band = arguments.takeOption("--band");
    const auto ripple = arguments.takeOption("--ripple");
    const bool noPreWarp = arguments.takeFlag("--no-prewarp");
    const bool matchedZ = arguments.takeFlag("--matched-z");
    arguments.expectNothingElse();
    if (!family || !order || !fc) {
        throw UsageError("--family, --order and --fc are needed");
    }
    const Options familyChoice = familyOption(*family);
    const Options bandChoice = band ? bandOption(*band) : Options::LowPass;
    if (fc2 && bandChoice != Options::BandPass && bandChoice != Options::BandStop) {
        throw UsageError("--fc2 applies to bandpass and bandstop only");
    }
    if (ripple && familyChoice != Options::Chebyshev) {
        throw UsageError("--ripple applies to chebyshev only");
    }

    nodara::filterdesign::IirDesignContext context(
        familyChoice, parseOrder(*order), parseNumber(*fc, "--fc"),
        fc2 ? parseNumber(*fc2, "--fc2") : 0.0, ripple ? parseNumber(*ripple, "--ripple") : 0.0);
    context.setOption(Options::LowPass, false);
    context.setOption(bandChoice);
    context.setOption(Options::DoNotPreWarp, noPreWarp);
    context.setOption(Options::MatchedZ, matchedZ);
    nodara::filterdesign::design(context);
    std::cout << "A=\"" << documentList(*context.getA()) << "\" B=\""
              << documentList(*context.getB()) << "\"\n";
    return 0;
}

} // namespace torvane::cli
