#include "filterdesign/IirDesignContext.h"

#include "runtime/Exceptions.h"

#include <stdexcept>

namespace nodara::filterdesign {

namespace {

bool isOpenCorner(double fc) { return fc > 0.0 && fc < 0.5; }

} // namespace

IirDesignContext::IirDesignContext(Options family, int32 order, double fc1, double fc2,
                                   double ripple)
    : DesignContext(checkedOrder(family, order, fc1, ripple)), fc1(fc1), fc2(fc2), ripple(ripple) {
    setOption(family);
    setOption(Options::LowPass);
}

int32 IirDesignContext::checkedOrder(Options family, int32 order, double fc1, double ripple) {
    if (family < Options::Bessel || family > Options::Chebyshev) {
        throw InvalidArgumentException("IirDesignContext: family must be one of the following: "
                                       "BESSEL, BUTTERWORTH, CHEBYSHEV.");
    }
    if (family == Options::Chebyshev && !(ripple < 0.0)) {
        throw InvalidArgumentException("IirDesignContext: ripple must be less than zero.");
    }
    if (!isOpenCorner(fc1)) {
        throw InvalidArgumentException("IirDesignContext: fc1 must be (0, 0.5).");
    }
    return order;
}

void IirDesignContext::checkBandEdges() const {
    if (!hasOption(Options::BandPass) && !hasOption(Options::BandStop)) {
        return;
    }
    if (!isOpenCorner(fc2)) {
        throw InvalidArgumentException("IirDesignContext: fc2 must be (0, 0.5).");
    }
    if (!(fc1 < fc2)) {
        throw InvalidArgumentException("IirDesignContext: fc2 must be above fc1.");
    }
}

bool IirDesignContext::hasOption(Options option) const { return options[position(option)]; }

void IirDesignContext::setOption(Options option, bool value) { options[position(option)] = value; }

std::size_t IirDesignContext::position(Options option) {
    const auto index = static_cast<std::size_t>(option);
    if (index >= optionCount) {
        throw std::out_of_range("invalid bitset<N> position");
    }
    return index;
}

} // namespace nodara::filterdesign
