#include "support/Documents.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace nodara::testing {
namespace {

/// Two targets: `first`, of the type `type`, and "Gain".
Control::Targets targets(const char* first, int32 type = Property::ScalarType) {
    auto list = std::make_shared<std::vector<std::shared_ptr<Property>>>();
    for (const char* name : {first, "Gain"}) {
        list->push_back(std::make_shared<Property>());
        list->back()->name = name;
        list->back()->index = int32(list->size()) - 1;
    }
    list->front()->type = type;
    return list;
}

TEST(Control, EachTargetHoldsItsOwnMappedValue) {
    Control control("c", "C", 0.5f);
    auto list = targets("Wiper");
    control.setProperties(list);
    EXPECT_TRUE(control.isDirty());
    EXPECT_FLOAT_EQ((*list)[0]->value, 0.5f) << "targets start at the control's value";
    control.setMap((*list)[1], [](scalar v) { return 1.0f - v; });
    control.setValue(0.25f);
    control.setValue(0.125f);
    EXPECT_FLOAT_EQ((*list)[0]->value, 0.125f) << "only the later value stays";
    EXPECT_FLOAT_EQ((*list)[1]->value, 0.875f);
    EXPECT_FLOAT_EQ(control.getValue(), 0.125f) << "the control keeps the unmapped value";
}

TEST(Control, VectorTargetsGetFreshVectorsAndUnknownTypesAreRefused) {
    Control control("c", "C", 0.0f);
    auto list = targets("Vout", Property::VectorType);
    control.setProperties(list);
    (*list)[1]->type = 2;
    EXPECT_EQ(messageOf([&] { control.setValue(1.0f); }), "Control: Unknown property type: 2");
    ASSERT_TRUE(control.tryLock()) << "a refused value releases the lock";
    EXPECT_FALSE(control.tryLock()) << "the audio thread only tries the lock";
    control.unlock();
    EXPECT_NE((*list)[0]->vectorValue, nullptr);
}

TEST(Control, ValuesWrittenWhileBlocksRunAreNotLost) {
    auto driver = driverFor(oneGraphSystem(element("Gain", "A", "Gain='1'", "Graph"), "A", "",
                                           controlOf("0", target("Gain", "A"))),
                            16);
    auto control = (*driver->getControls())[0];
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 1; i <= 2000; ++i) {
            control->setValue(static_cast<scalar>(i));
        }
        done = true;
    });
    std::vector<scalar> input(16, 1.0f);
    while (!done) {
        driver->process({input.data()}, 16);
    }
    writer.join();
    driver->process({input.data()}, 16);
    EXPECT_FLOAT_EQ((*driver->getOutputs())[0][0], 2000.0f);
}

} // namespace
} // namespace nodara::testing
