#include "dsp/LookupTableFilter.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace nodara::testing {
namespace {

/// The lookup written out independently, step by step in single precision.
float referenceLookup(float x, const std::vector<float>& table, float vinMin, float deltaV) {
    const float inverse = 1.0f / deltaV;
    const float d = x - vinMin;
    const float product = inverse * d;
    int i = INT32_MIN;
    if (std::isfinite(product) && product < 2147483648.0f && product >= -2147483648.0f) {
        i = static_cast<int>(product);
    }
    const int last = static_cast<int>(table.size()) - 1;
    if (i < 1) {
        return table[0];
    }
    if (i >= last) {
        return table[static_cast<size_t>(last)];
    }
    const float a = table[static_cast<size_t>(i)];
    const float b = table[static_cast<size_t>(i) + 1];
    if (a == b) {
        return a;
    }
    const float fromEntry = d - static_cast<float>(i) * deltaV;
    const float scaled = fromEntry * (b - a);
    return scaled * inverse + a;
}

struct Stage {
    std::unique_ptr<LookupTableFilter> filter = std::make_unique<LookupTableFilter>();
    std::shared_ptr<std::vector<scalar>> table;
};

Stage stage(std::vector<scalar> values, const std::string& vinMin = "-8",
            const std::string& deltaV = "0.02") {
    Stage result;
    auto context = std::make_shared<DSPContext>();
    result.filter->init("V1", {{"VinMin", vinMin}, {"VinMax", "80"}, {"DeltaV", deltaV}}, context);
    result.table = std::make_shared<std::vector<scalar>>(std::move(values));
    result.filter->propertyChanged("Vout", result.table);
    result.filter->setMaxBlockSize(64);
    return result;
}

std::vector<scalar> curve(size_t count) {
    std::vector<scalar> values(count);
    for (size_t i = 0; i < count; ++i) {
        values[i] = 260.0f - 160.0f / (1.0f + std::exp(-0.01f * static_cast<float>(i) + 4.0f));
    }
    return values;
}

// Random inputs over and beyond the table, its ends, the flat first interval, entries, overflow
// and NaN; and tables too small to interpolate or with equal neighbours.
TEST(LookupTableFilter, MatchesTheStepwiseLookupBitForBit) {
    struct Case {
        std::vector<scalar> table;
        float vinMin, deltaV;
    };
    const Case cases[] = {{curve(1601), -8.0f, 0.01f},
                          {curve(4401), -8.0f, 0.02f},
                          {{5.0f}, 0.0f, 1.0f},
                          {{1.0f, 3.0f}, 0.0f, 1.0f},
                          {{0.1f, 0.3f, 0.3f, 0.7f}, 0.0f, 1.0f}};
    std::vector<scalar> in = {-8.005f, -7.985f, -6.0f, 80.0f, 1000.0f, 1.5f, 1.7f, 0.5f,
                              std::numeric_limits<float>::quiet_NaN(), 1e12f, -1e12f};
    std::mt19937 generator(7);
    std::uniform_real_distribution<float> volts(-10.0f, 10.0f);
    while (in.size() < 64 * 100) {
        in.push_back(volts(generator));
    }
    for (const Case& c : cases) {
        auto s = stage(c.table, std::to_string(c.vinMin), std::to_string(c.deltaV));
        std::vector<scalar> out(64);
        for (size_t start = 0; start < in.size(); start += 64) {
            s.filter->process(in.data() + start, out.data(), 64);
            for (size_t i = 0; i < 64; ++i) {
                ASSERT_EQ(out[i], referenceLookup(in[start + i], c.table, c.vinMin, c.deltaV))
                    << "input " << in[start + i] << ", " << c.table.size() << " entries";
            }
        }
    }
}

TEST(LookupTableFilter, InPlaceBlocksAndIterationGiveTheSameValues) {
    auto s = stage(curve(401), "-2", "0.01");
    std::vector<scalar> block = {-1.5f, 0.0f, 0.333f, 1.99f};
    std::vector<scalar> expected;
    for (scalar x : block) {
        expected.push_back(s.filter->process(x));
    }
    s.filter->process(block.data(), block.data(), block.size());
    EXPECT_EQ(block, expected);
    auto inputs = std::make_shared<std::vector<scalar>>(1, 0.333f);
    EXPECT_EQ((*s.filter->iteration(inputs, 3, 0))[0], expected[2]);
    EXPECT_EQ(s.filter->endIteration(3), 3u);
    EXPECT_EQ(s.filter->getOutput(0)[3], expected[2]);
}

TEST(LookupTableFilter, TablesAreSharedAndKeepTheirLength) {
    auto s = stage(curve(10), "0", "1");
    auto replacement = std::make_shared<std::vector<scalar>>(10, 2.0f);
    s.filter->propertyChanged("Vout", replacement);
    EXPECT_EQ(s.filter->getValues(), replacement) << "shared, not copied";
    EXPECT_EQ(s.filter->process(4.5f), 2.0f) << "takes effect at the next sample";
    EXPECT_EQ(messageOf([&] {
                  s.filter->propertyChanged("Vout", std::make_shared<std::vector<scalar>>(11, 0.0f));
              }),
              "LookupTableFilter: size of Vout (10) is not equal to the size of values (11 )");
    EXPECT_EQ(messageOf([&] {
                  s.filter->propertyChanged("Vout", std::make_shared<std::vector<scalar>>());
              }),
              "LookupTableFiter: empty Vout values array. ");
    EXPECT_EQ(messageOf([&] { s.filter->propertyChanged("Table", replacement); }),
              "LookupTableFilter: Unknown property Table");
    EXPECT_EQ(s.filter->getValues(), replacement) << "a refused table leaves the old one";
}

TEST(LookupTableFilter, PropertiesChangedOverwritesWhatItGets) {
    auto s = stage({0.0f, 1.0f, 2.0f, 3.0f}, "0", "1");
    s.filter->propertiesChanged({{"VinMin", "-1"}, {"DeltaV", "0.5"}, {"Vout", "5|6|7|8"}});
    EXPECT_EQ(s.filter->getVinMin(), -1.0f);
    EXPECT_EQ(s.filter->getVinMax(), 80.0f) << "absent keys stay";
    EXPECT_EQ(s.filter->getDeltaV(), 0.5f);
    EXPECT_EQ(*s.table, (std::vector<scalar>{5.0f, 6.0f, 7.0f, 8.0f})) << "contents replaced in place";
}

TEST(LookupTableFilter, InitAndProcessingFaults) {
    auto context = std::make_shared<DSPContext>();
    const std::vector<std::pair<Properties, std::string>> faults = {
        {{{"VinMax", "1"}, {"DeltaV", "1"}}, "VinMin is not defined. LookupTableAmp name=T"},
        {{{"VinMin", "1"}, {"DeltaV", "1"}}, "VinMax is not defined. LookupTableAmp name=T"},
        {{{"VinMin", "1"}, {"VinMax", "1"}}, "DeltaV is not defined. LookupTableAmp name=T"},
        {{{"VinMin", "1"}, {"VinMax", "1"}, {"DeltaV", "0"}},
         "DeltaV must be greater than 0. LookupTableAmp name=T"},
    };
    for (const auto& [properties, message] : faults) {
        LookupTableFilter filter;
        EXPECT_EQ(messageOf([&] { filter.init("T", properties, context); }), message);
    }
    LookupTableFilter empty;
    empty.init("T", Properties{}, context);
    empty.setMaxBlockSize(4);
    std::vector<scalar> in(4), out(4);
    EXPECT_NO_THROW(empty.process(in.data(), out.data(), 0));
    EXPECT_EQ(messageOf([&] { empty.process(in.data(), out.data(), 1); }),
              "LookupTableFilter: T lookup data is not defined.");
    EXPECT_EQ(messageOf([&] { empty.iteration(std::make_shared<std::vector<scalar>>(1), 0, 0); }),
              "LookupTableFilter: T lookup data is not defined.");
    EXPECT_EQ(messageOf([&] { empty.setMaxBlockSize(-3); }), "LookupTableFilter: Invalid maxBlockSize-3");
    EXPECT_EQ(messageOf([&] { empty.getOutput(2); }), "LookupTableFilter: Invalid output index: 2");
}

} // namespace
} // namespace nodara::testing
