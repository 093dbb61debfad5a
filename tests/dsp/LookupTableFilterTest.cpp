#include "dsp/elements/LookupTableFilter.h"
#include "runtime/DSPContext.h"
#include "support/Documents.h"

#include "support/FailureCheck.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace nodara::testing {
namespace {

using namespace failurecheck;

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
    std::unique_ptr<LookupTableFilter> filter;
    std::shared_ptr<std::vector<scalar>> table;
};

Stage stage(std::vector<scalar> values, float vinMin = -8.0f, float deltaV = 0.02f) {
    Stage result{made<LookupTableFilter>(props("VinMax=80 VinMin=" + std::to_string(vinMin) +
                                               " DeltaV=" + std::to_string(deltaV)), "V1", 64),
                 std::make_shared<std::vector<scalar>>(std::move(values))};
    result.filter->propertyChanged("Vout", result.table);
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
        auto s = stage(c.table, c.vinMin, c.deltaV);
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
    auto s = stage(curve(401), -2.0f, 0.01f);
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
    auto s = stage(curve(10), 0.0f, 1.0f);
    auto replacement = std::make_shared<std::vector<scalar>>(10, 2.0f);
    s.filter->propertyChanged("Vout", replacement);
    EXPECT_EQ(s.filter->getValues(), replacement) << "shared, not copied";
    EXPECT_EQ(s.filter->process(4.5f), 2.0f) << "takes effect at the next sample";
    const auto vout = [&](size_t size) {
        return [&, table = std::make_shared<std::vector<scalar>>(size)] {
            s.filter->propertyChanged("Vout", table);
        };
    };
    expectFailures({
        {vout(11), invalid,
         "LookupTableFilter: size of Vout (10) is not equal to the size of values (11 )"},
        {vout(0), invalid, "LookupTableFiter: empty Vout values array. "},
        {[&] { s.filter->propertyChanged("Table", replacement); }, invalid,
         "LookupTableFilter: Unknown property Table"},
    });
    EXPECT_EQ(s.filter->getValues(), replacement) << "a refused table leaves the old one";
}

TEST(LookupTableFilter, PropertiesChangedOverwritesWhatItGetsAndTheTableInPlace) {
    auto s = stage({0.0f, 1.0f, 2.0f, 3.0f}, 0.0f, 1.0f);
    s.filter->propertiesChanged({{"VinMin", "-1"}, {"DeltaV", "0.5"}, {"Vout", "5|6|7|8"}});
    EXPECT_EQ(*s.table, (std::vector<scalar>{5.0f, 6.0f, 7.0f, 8.0f}));
    for (float x : {-0.3f, 0.2f, 0.6f}) {
        EXPECT_EQ(s.filter->process(x), referenceLookup(x, *s.table, -1.0f, 0.5f)) << x;
    }
}

TEST(LookupTableFilter, InitAndProcessingFaults) {
    LookupTableFilter empty;
    auto context = std::make_shared<DSPContext>();
    empty.init("T", Properties{}, context);
    empty.setMaxBlockSize(4);
    std::vector<scalar> in(4), out(4);
    EXPECT_NO_THROW(empty.process(in.data(), out.data(), 0));
    const std::string noData = "LookupTableFilter: T lookup data is not defined.";
    expectFailures({
        {[] { made<LookupTableFilter>("VinMax=1 DeltaV=1", "T"); }, invalid,
         "VinMin is not defined. LookupTableAmp name=T"},
        {[] { made<LookupTableFilter>("VinMin=1 DeltaV=1", "T"); }, invalid,
         "VinMax is not defined. LookupTableAmp name=T"},
        {[&] { empty.process(in.data(), out.data(), 1); }, plain, noData},
        {[&] { empty.iteration(std::make_shared<std::vector<scalar>>(1), 0, 0); }, plain, noData},
    });
}

} // namespace
} // namespace nodara::testing
