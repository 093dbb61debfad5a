// A host of our own that counts, on its audio thread, what the real-time rules forbid: heap
// calls, locks, yields and sleeps, reads and writes. The plug-in is loaded as a host loads it.
#include "support/AllocationCounter.h"
#include "support/LoadedPlugin.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

namespace nodara::testing {
namespace {

/// The oversampling factor the Oversamp parameter gives at `value`.
int factorAt(float value) { return value < 0.25f ? 2 : (value < 0.75f ? 4 : 8); }

class CountingHost {
public:
    explicit CountingHost(LoadedPlugin& plugin) : effect(plugin) {
        effect.start(48000.0f, 256);
    }

    /// The calls of `count` blocks of a steady signal.
    CallCounts blocks(int count) {
        return callsOf([&] {
            for (int block = 0; block < count; ++block) {
                effect.process(input.data(), input.data(), left.data(), right.data(), 256);
            }
        });
    }

    void set(int index, float value) { effect.effect->setParameter(effect.effect, index, value); }

    Effect effect;
    std::vector<float> input = sine(220.0, 48000.0, 256, 0.3), left = input, right = input;
};

// Every parameter is swept up and down in steps of 0.05, the positions between the switch's
// three included, with both chains and both branches running and in the default state: only
// the first block after a new oversampling factor may allocate, for the redesign.
TEST(RealTime, NoBlockAllocatesLocksWaitsOrDoesIoAfterAnyParameterChange) {
    if (!callsAreCounted()) {
        GTEST_SKIP() << "a sanitizer's build counts nothing";
    }
    LoadedPlugin plugin;
    for (const float busy : {0.0f, 1.0f}) {
        CountingHost host(plugin);
        EXPECT_EQ(host.blocks(1).total(), 0) << "the first block after resume";
        host.set(5, busy);
        host.set(7, busy);
        host.blocks(1);
        for (int index = 0; index < 8; ++index) {
            const float start = host.effect.effect->getParameter(host.effect.effect, index);
            float last = start;
            for (int step = -20; step <= 20; ++step) {
                const float value = 0.05f * static_cast<float>(20 - std::abs(step));
                host.set(index, value);
                const CallCounts first = host.blocks(1);
                if (index == 3 && factorAt(value) != factorAt(last)) {
                    EXPECT_GT(first.allocations, 0) << "the count reaches into the module";
                    EXPECT_EQ(first.total() - first.allocations - first.frees, 0) << first;
                } else {
                    EXPECT_EQ(first.total(), 0)
                        << "parameter " << index << " at " << value << ": " << first;
                }
                EXPECT_EQ(host.blocks(2).total(), 0) << "parameter " << index << " at " << value;
                last = value;
            }
            host.set(index, start);
            host.blocks(1);
        }
    }
}

} // namespace
} // namespace nodara::testing
