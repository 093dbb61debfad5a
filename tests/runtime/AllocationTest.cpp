// Counts heap allocations on the audio path: steady-state blocks must allocate nothing.
#include "support/Documents.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};
std::atomic<bool> counting{false};
} // namespace

// The replacements pair malloc with free; the compiler only sees free meet a pointer from new.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    if (counting.load(std::memory_order_relaxed)) {
        allocations.fetch_add(1, std::memory_order_relaxed);
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace nodara::testing {
namespace {

/// Allocations made by `action`.
template <class Action>
long allocationsOf(Action&& action) {
    allocations = 0;
    counting = true;
    action();
    counting = false;
    return allocations.load();
}

/// Allocations of `count` blocks of 256 frames.
long allocationsOfBlocks(Driver& driver, int count) {
    static std::vector<scalar> input = testSignal(256);
    static const std::vector<scalar*> inputs = {input.data()};
    return allocationsOf([&] {
        for (int block = 0; block < count; ++block) {
            driver.process(inputs, 256);
        }
    });
}

TEST(Allocation, SteadyStateBlocksAllocateNothing) {
    const std::string controls =
        controlOf("0.5", target("Gain", "A") + target("Position", "S") + target("Bypass_2"));
    const std::string elements =
        element("Gain", "A", "Gain=\"2\"", "Graph") +
        element("LookupTableFilter", "T", "VinMin=\"-1\" VinMax=\"1\" DeltaV=\"1\" Vout=\"-1|0|1\"", "A") +
        "<Element Type=\"Switch\" Name=\"S\"><Properties NumberOfInputs=\"2\"/><Inputs>"
        "<Input Port=\"in_0\" Element=\"T\" Output=\"out\"/><Input Port=\"in_1\" Element=\"A\" "
        "Output=\"out\"/></Inputs></Element>";
    for (const std::string method : {"Block", "Sequential"}) {
        const auto properties = "<Properties ProcessingMethod=\"" + method + "\"/>";
        auto driver = driverFor(oneGraphSystem(elements, "S", properties, controls), 256);
        allocationsOfBlocks(*driver, 1);
        (*driver->getControls())[0]->setValue(0.25f);
        EXPECT_EQ(allocationsOfBlocks(*driver, 10), 0) << method;
    }
}

// The redesign and the larger buffers of a new rate are the documented exception.
TEST(Allocation, OnlyTheBlockThatChangesTheRateAllocates) {
    auto driver = driverFor(oversampledChain(), 256);
    allocationsOfBlocks(*driver, 1);
    (*driver->getControls())[0]->setValue(8.0f);
    EXPECT_GT(allocationsOfBlocks(*driver, 1), 0);
    EXPECT_EQ(allocationsOfBlocks(*driver, 10), 0);
}

} // namespace
} // namespace nodara::testing
