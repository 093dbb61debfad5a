#include "filterdesign/Request.h"

#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <bit>
#include <utility>

namespace nodara::filterdesign {

namespace {

using namespace requestbits;

/// Options that may stand beside the resonator, and beside the proportional integrator.
constexpr unsigned resonatorCompanions = bandPass | bandStop | allPass | cornerGiven;
constexpr unsigned integratorCompanions = lowPass | cornerGiven | orderGiven;

unsigned familyBit(const IirDesignContext& context) {
    if (context.hasOption(Options::Bessel)) {
        return bessel;
    }
    if (context.hasOption(Options::Chebyshev)) {
        return chebyshev;
    }
    return context.hasOption(Options::Butterworth) ? butterworth : 0;
}

unsigned bandBits(const IirDesignContext& context) {
    static constexpr std::pair<Options, unsigned> bandOfOption[] = {
        {Options::LowPass, lowPass},   {Options::HighPass, highPass},
        {Options::BandPass, bandPass}, {Options::BandStop, bandStop},
        {Options::AllPass, allPass},
    };
    unsigned bits = 0;
    for (const auto& [option, bit] : bandOfOption) {
        if (context.hasOption(option)) {
            bits |= bit | cornerGiven;
        }
    }
    return bits;
}

unsigned warpingBits(const IirDesignContext& context) {
    return (context.hasOption(Options::DoNotPreWarp) ? noPreWarp : 0) |
           (context.hasOption(Options::MatchedZ) ? matchedZ : 0);
}

void fail(const char* message) { throw NodaraException(message); }

void validateFamilyOptions(unsigned word) {
    if (word & resonator) {
        if (word & ~(resonator | resonatorCompanions)) {
            fail("options incompatible with 2-pole resonator filter");
        }
        if (!(word & (bandPass | bandStop | allPass))) {
            fail("missing resonator type");
        }
    }
    if ((word & proportionalIntegrator) &&
        (word & ~(proportionalIntegrator | integratorCompanions))) {
        fail("options incompatible with proportional integrator");
    }
}

/// The resonator places its two poles itself; every other family needs an order.
void validateOrder(const Request& request) {
    if (!(request.options & orderGiven)) {
        fail("missing filter order");
    }
    if (request.order < 1 || request.order > limits::designedOrder) {
        fail("filter order out of range");
    }
}

} // namespace

Request makeRequest(const IirDesignContext& context) {
    Request request;
    request.options = familyBit(context) | bandBits(context) | warpingBits(context) | orderGiven;
    request.order = context.getOrder();
    request.fc1 = context.getFc1();
    request.fc2 = context.getFc2();
    request.ripple = context.getRipple();
    return request;
}

void validate(const Request& request) {
    const unsigned word = request.options;
    if (std::popcount(word & families) != 1) {
        fail("missing filter design method");
    }
    validateFamilyOptions(word);
    if (std::popcount(word & bands) != 1) {
        fail("missing filter type");
    }
    if ((word & allPass) && !(word & resonator)) {
        fail("allpass characteristic avaialable only with 2-pole resonator");
    }
    if (!(word & resonator)) {
        validateOrder(request);
    }
    if ((word & proportionalIntegrator) && request.order != 1) {
        fail("proportional integrator allows only order of 1");
    }
    if (!(word & cornerGiven)) {
        fail("missing normalized corner frequency");
    }
}

} // namespace nodara::filterdesign
