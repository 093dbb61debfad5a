#include "runtime/Exceptions.h"
#include "runtime/Properties.h"

#include <gtest/gtest.h>

namespace nodara {
namespace {

TEST(Properties, BooleansAreTrueOnlyForTheExactText) {
    EXPECT_TRUE(boolParser("true"));
    for (const char* text : {"True", "TRUE", "1", "yes", "", " true"}) {
        EXPECT_FALSE(boolParser(text)) << text;
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

TEST(Properties, RequiredPropertyThrowsTheGivenExceptionWhenAbsent) {
    const Properties properties = {{"Gain", "0.25"}};
    scalar gain = 0.0f;
    requireProperty(properties, "Gain", gain, scalarParser, NodaraException("missing"));
    EXPECT_FLOAT_EQ(gain, 0.25f);
    EXPECT_THROW(requireProperty(properties, "Order", gain, scalarParser,
                                 InvalidArgumentException("Order is missing")),
                 InvalidArgumentException);
    scalar untouched = 7.0f;
    EXPECT_FALSE(readProperty(properties, "Order", untouched, scalarParser));
    EXPECT_FLOAT_EQ(untouched, 7.0f);
}

TEST(Properties, MessagesPrintNumbersInTheirShortestStreamForm) {
    EXPECT_EQ(concat("got ", 2.0, " and ", 0.5f, " of ", 3), "got 2 and 0.5 of 3");
}

} // namespace
} // namespace nodara
