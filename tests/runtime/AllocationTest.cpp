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

TEST(Allocation, SteadyStateBlocksAllocateNothing) {
    const std::string controls =
        "<Controls><Control Name=\"Level\" DisplayName=\"Level\" Value=\"0.5\"><Properties>"
        "<Property Name=\"Gain\" Graph=\"G\" Element=\"A\"/><Property Name=\"Position\" Graph=\"G\" "
        "Element=\"S\"/><Property Name=\"Bypass_2\" Graph=\"G\"/></Properties></Control></Controls>";
    const std::string elements =
        element("Gain", "A", "Gain=\"2\"", "Graph") +
        element("LookupTableFilter", "T", "VinMin=\"-1\" VinMax=\"1\" DeltaV=\"1\" Vout=\"-1|0|1\"", "A") +
        "<Element Type=\"Switch\" Name=\"S\"><Properties NumberOfInputs=\"2\"/><Inputs>"
        "<Input Port=\"in_0\" Element=\"T\" Output=\"out\"/><Input Port=\"in_1\" Element=\"A\" "
        "Output=\"out\"/></Inputs></Element>";
    for (const char* method : {"Block", "Sequential"}) {
        auto driver = driverFor(oneGraphSystem(elements, "S",
                                               std::string("<Properties ProcessingMethod=\"") +
                                                   method + "\"/>",
                                               controls),
                                256);
        std::vector<scalar> input = testSignal(256);
        const std::vector<scalar*> inputs = {input.data()};
        driver->process(inputs, 256);
        auto control = (*driver->getControls())[0];
        control->setValue(0.25f);
        EXPECT_EQ(allocationsOf([&] {
                      for (int block = 0; block < 10; ++block) {
                          driver->process(inputs, 256);
                      }
                  }),
                  0)
            << method;
    }
}

} // namespace
} // namespace nodara::testing
