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

TEST(Allocation, OnlyTheBlockThatChangesTheRateAllocates) {
    const std::string document = R"(<System><Graphs>
      <Graph Name="Up" Type="DSP" Multiplier="2.0">
        <Element Type="IirInterpolator" Name="I"><Properties CornerFrequency="15000" Factor="2"
          Order="2" Cascade="4" Type="Butterworth"/>
          <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
        <Inputs><Input Graph="System" Node="0"/></Inputs>
        <Output><Node Name="out" Element="I" Index="0"/></Output><NumberOfInputs>1</NumberOfInputs>
      </Graph>
      <Graph Name="Down" Type="DSP" Multiplier="0.5">
        <Element Type="IirDecimator" Name="D"><Properties CornerFrequency="20000" Factor="2"
          Order="3" Cascade="8" Type="Butterworth"/>
          <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs></Element>
        <Inputs><Input Graph="Up" Node="out"/></Inputs>
        <Output><Node Name="out" Element="D" Index="0"/></Output><NumberOfInputs>1</NumberOfInputs>
      </Graph></Graphs><Outputs><Output Graph="Down" Node="out"/></Outputs>
      <Controls><Control Name="Oversampling" DisplayName="Oversampling" Value="2"><Properties>
        <Property Name="Factor" Graph="Up" Element="I"/><Property Name="Factor" Graph="Down" Element="D"/>
      </Properties></Control></Controls></System>)";
    auto driver = driverFor(document, 256);
    std::vector<scalar> input = testSignal(256);
    const std::vector<scalar*> inputs = {input.data()};
    driver->process(inputs, 256);
    (*driver->getControls())[0]->setValue(8.0f);
    EXPECT_GT(allocationsOf([&] { driver->process(inputs, 256); }), 0)
        << "the redesign and the larger buffers are the documented exception";
    EXPECT_EQ(allocationsOf([&] {
                  for (int block = 0; block < 10; ++block) {
                      driver->process(inputs, 256);
                  }
              }),
              0);
}

} // namespace
} // namespace nodara::testing
