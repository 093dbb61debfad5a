#include "runtime/Properties.h"

#include <gtest/gtest.h>

namespace nodara {
namespace {

TEST(Properties, BooleansAreTrueOnlyForTheExactText) {
    for (const char* text : {"True", "TRUE", "1", "yes", "", " true", "true"}) {
        EXPECT_EQ(boolParser(text), std::string(text) == "true") << text;
    }
}

TEST(Properties, NumbersReadTheLeadingNumberAndIgnoreTheRest) {
    EXPECT_FLOAT_EQ(scalarParser("0.5|0.7"), 0.5f);
    EXPECT_FLOAT_EQ(scalarParser("abc"), 0.0f);
    EXPECT_EQ(intParser("12.9"), 12);
    EXPECT_DOUBLE_EQ(doubleParser("2e3Hz"), 2000.0);
}

TEST(Properties, ListsDropEmptyPieces) {
    std::vector<scalar> values;
    splitScalars("1.0||2.0|", listSeparator, values);
    EXPECT_EQ(values, (std::vector<scalar>{1.0f, 2.0f}));
    std::vector<std::string> names;
    splitProperty("|Wiper|Gain", listSeparator, names);
    EXPECT_EQ(names, (std::vector<std::string>{"Wiper", "Gain"}));
    splitProperty("", listSeparator, names);
    EXPECT_TRUE(names.empty());
}

} // namespace
} // namespace nodara
