#include "filterdesign/DesignContext.h"

#include "runtime/Exceptions.h"

#include <utility>

namespace nodara::filterdesign {

DesignContext::DesignContext(int32 order) : order(order) {
    if (order == 0) {
        throw InvalidArgumentException(concat("DesignContext: Invalid filter order: ", order));
    }
}

void DesignContext::setCoefficients(Coefficients newA, Coefficients newB) {
    a = std::move(newA);
    b = std::move(newB);
}

} // namespace nodara::filterdesign
