#include "tools/host/ParameterLookup.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace nodara::testing {
namespace {

using torvane::host::findParameter;

/// The names an amplifier with eight controls reports, cut to 8 bytes by the interface.
const std::vector<std::string> reported = {"Volume",  "Feedback", "Output", "Oversamp",
                                           "Cabinet", "CPU",      "Input",  "Stereo"};

TEST(ParameterLookup, ExactThenFirstEightLettersInAnyCaseThenIndex) {
    const std::vector<std::pair<std::string, int>> cases = {
        {"Output", 2},     {"Oversamp", 3},  {"Oversampling", 3}, {"oversampling", 3},
        {"OVERSAMPLE", 3}, {"cpu", 5},       {"stereo", 7},       {"0", 0},
        {"7", 7},          {"Feedback!", 1},
    };
    for (const auto& [wanted, index] : cases) {
        EXPECT_EQ(findParameter(reported, wanted), index) << wanted;
    }
}

TEST(ParameterLookup, AnExactNameWinsOverALooserMatch) {
    EXPECT_EQ(findParameter({"abcdefgh", "ABCDEFGH"}, "ABCDEFGH"), 1) << "over a match in case";
    EXPECT_EQ(findParameter({"a", "b", "c", "0"}, "0"), 3) << "over an index";
    EXPECT_EQ(findParameter({"Level", "level"}, "LEVEL"), 0) << "the first of equal matches";
}

TEST(ParameterLookup, UnknownNamesAndIndexesFailNamingThemAndListingTheNames) {
    const std::string list = "its parameters are \"Volume\", \"Feedback\", \"Output\", "
                             "\"Oversamp\", \"Cabinet\", \"CPU\", \"Input\", \"Stereo\" "
                             "(or an index from 0 to 7)";
    for (const std::string wanted : {"Gain", "Over", "8", "-1", "Vol", " 1", "1.0"}) {
        try {
            findParameter(reported, wanted);
            ADD_FAILURE() << wanted << " was found";
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), "no parameter \"" + wanted + "\"; " + list);
        }
    }
    EXPECT_THROW(findParameter({}, "0"), std::runtime_error);
}

} // namespace
} // namespace nodara::testing
