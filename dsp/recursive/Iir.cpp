#include "dsp/recursive/Iir.h"

#include "kernels/Kernels.h"
#include "runtime/Exceptions.h"
#include "runtime/Limits.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace nodara {

void Iir::propertyChanged(const std::string& propertyName, scalar value) {
    if (propertyName != "Order") {
        throw InvalidArgumentException("Iir: Unknown property " + propertyName);
    }
    limits::requireAtMost("Iir", "Order", value, limits::order);
    setOrder(static_cast<int32>(std::lround(value)));
}

void Iir::propertyChanged(const std::string& propertyName,
                          const std::shared_ptr<std::vector<scalar>>& values) {
    if (propertyName == "A") {
        setA(*values);
    } else if (propertyName == "B") {
        setB(*values);
    } else {
        throw InvalidArgumentException("Iir: Unknown property " + propertyName);
    }
}

void Iir::init(const std::string& filterName, std::shared_ptr<DSPContext>& ctx) {
    Filter::init(filterName, ctx);
    outputs.assign(1, buffer.get());
    iterationResult->assign(1, 0.0f);
}

void Iir::init(const std::string& filterName, const Properties& filterProperties,
               std::shared_ptr<DSPContext>& ctx) {
    init(filterName, ctx);
    properties = filterProperties;
    int32 order = 0;
    requireProperty(filterProperties, "Order", order, intParser,
                    InvalidArgumentException("Iir: Order is not defined. Iir name=" + filterName));
    if (order < 1) {
        throw InvalidArgumentException(concat("Iir: Order must be greater than 0. Iir name: ",
                                              filterName, " Order=", order));
    }
    limits::requireAtMost("Iir " + filterName, "Order", order, limits::order);
    std::string aText;
    std::string bText;
    requireProperty(filterProperties, "A", aText, stringParser,
                    InvalidArgumentException("Iir: A is not defined. Iir name=" + filterName));
    requireProperty(filterProperties, "B", bText, stringParser,
                    InvalidArgumentException("Iir: B is not defined. Iir name=" + filterName));
    std::vector<scalar> aValues;
    std::vector<scalar> bValues;
    splitScalars(aText, listSeparator, aValues);
    splitScalars(bText, listSeparator, bValues);
    if (aValues.size() != static_cast<size_t>(order)) {
        throw InvalidArgumentException(concat("Iir: Invalid number of values for A (", aText,
                                              "). Expected ", order, ". Iir name=", filterName));
    }
    if (bValues.size() != static_cast<size_t>(order) + 1) {
        throw InvalidArgumentException(concat("Iir: Invalid number of values for B (", bText,
                                              "). Expected ", order + 1, ". Iir name=", filterName));
    }
    setOrder(order);
    setA(aValues);
    setB(bValues);
}

void Iir::setOrder(int32 order) {
    if (order < 1) {
        throw NodaraException(concat("Iir: Invalid order", order));
    }
    limits::requireAtMost("Iir", "Order", order, limits::order);
    taps = order + 1;
    if (maxBlockSize > 0) {
        allocateHistories();
    }
}

void Iir::setA(const std::vector<scalar>& values) {
    if (values.size() != static_cast<size_t>(taps - 1)) {
        throw InvalidArgumentException(concat("Iir: Invalid number of \"A\" coefficients. Expected: ",
                                              taps - 1, " got: ", values.size()));
    }
    reversedA.assign(values.rbegin(), values.rend());
}

void Iir::setB(const std::vector<scalar>& values) {
    if (values.size() != static_cast<size_t>(taps)) {
        throw InvalidArgumentException(concat("Iir: Invalid number of \"B\" coefficients. Expected: ",
                                              taps, " got: ", values.size()));
    }
    reversedB.assign(values.rbegin(), values.rend());
}

void Iir::setMaxBlockSize(int32 size) {
    if (size < 1) {
        throw NodaraException(concat("Iir: Invalid maxBlockSize", size));
    }
    if (size > maxBlockSize) {
        maxBlockSize = size;
        buffer = std::make_unique<scalar[]>(static_cast<size_t>(size));
        outputs[0] = buffer.get();
        if (taps != 0) {
            allocateHistories();
        }
    }
}

void Iir::allocateHistories() {
    const auto length = static_cast<size_t>(maxBlockSize + taps - 1);
    xHistory.assign(length, 0.0f);
    yHistory.assign(length, 0.0f);
}

void Iir::reset() {
    std::fill(xHistory.begin(), xHistory.end(), 0.0f);
    std::fill(yHistory.begin(), yHistory.end(), 0.0f);
}

scalar Iir::process(scalar) { return 0.0f; }

void Iir::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                  size_t framesPerBuffer) {
    process(in[0], out[0], framesPerBuffer);
}

scalar* Iir::process(scalar* in, size_t framesPerBuffer) {
    process(in, buffer.get(), framesPerBuffer);
    return buffer.get();
}

void Iir::checkCoefficientLengths() const {
    if (reversedA.size() != static_cast<size_t>(taps - 1)) {
        throw NodaraException(concat("Iir: Invalid length of \"a\" coefficients. Expecting: ",
                                     taps - 1, ". Got: ", reversedA.size()));
    }
    if (reversedB.size() != static_cast<size_t>(taps)) {
        throw NodaraException(concat("Iir: Invalid length of \"b\" coefficients. Expecting: ", taps,
                                     ". Got: ", reversedB.size()));
    }
}

scalar Iir::historyOutput(size_t at) const {
    const scalar feedForward = kernels::dot(&xHistory[at + 1 - static_cast<size_t>(taps)],
                                            reversedB.data(), taps);
    const scalar feedback = kernels::dot(&yHistory[at + 1 - static_cast<size_t>(taps)],
                                         reversedA.data(), taps - 1);
    return static_cast<scalar>(static_cast<double>(feedForward) - static_cast<double>(feedback));
}

// The first T − 1 frames run against the history; the rest directly on the caller's arrays,
// so a block costs at most 2·n dot products.
void Iir::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    checkCoefficientLengths();
    const auto history = static_cast<size_t>(taps - 1);
    const size_t head = std::min(history, framesPerBuffer);
    std::copy_n(in, head, &xHistory[history]);
    for (size_t i = 0; i < head; ++i) {
        yHistory[history + i] = historyOutput(history + i);
    }
    std::copy_n(&yHistory[history], head, out);
    if (head < history) {
        std::copy(xHistory.begin() + static_cast<std::ptrdiff_t>(head),
                  xHistory.begin() + static_cast<std::ptrdiff_t>(head + history), xHistory.begin());
        std::copy(yHistory.begin() + static_cast<std::ptrdiff_t>(head),
                  yHistory.begin() + static_cast<std::ptrdiff_t>(head + history), yHistory.begin());
        clearIfNotFinite();
        return;
    }
    for (size_t i = head; i < framesPerBuffer; ++i) {
        const scalar feedForward = kernels::dot(in + i - history, reversedB.data(), taps);
        const scalar feedback = kernels::dot(out + i - history, reversedA.data(), taps - 1);
        out[i] = static_cast<scalar>(static_cast<double>(feedForward) - static_cast<double>(feedback));
    }
    std::copy_n(in + framesPerBuffer - history, history, xHistory.begin());
    std::copy_n(out + framesPerBuffer - history, history, yHistory.begin());
    clearIfNotFinite();
}

void Iir::settle(const std::vector<scalar*>& in, size_t frames) {
    reset();
    if (xHistory.empty()) {
        return;
    }
    const scalar input = in.empty() || in[0] == nullptr ? 0.0f : in[0][0];
    const double gain = std::accumulate(reversedB.begin(), reversedB.end(), 0.0);
    const double feedback = std::accumulate(reversedA.begin(), reversedA.end(), 1.0);
    const double steady = static_cast<double>(input) * gain / feedback;
    const scalar out = std::isfinite(steady) ? static_cast<scalar>(steady) : 0.0f;
    const auto history = static_cast<std::ptrdiff_t>(taps - 1);
    std::fill(xHistory.begin(), xHistory.begin() + history, input);
    std::fill(yHistory.begin(), yHistory.begin() + history, out);
    std::fill_n(buffer.get(), std::min(frames, static_cast<size_t>(maxBlockSize)), out);
}

// As in the fixed orders: a value that is not finite would stay in the recursion for ever.
void Iir::clearIfNotFinite() {
    if (xHistory.empty()) {
        return;
    }
    const auto history = static_cast<std::ptrdiff_t>(taps - 1);
    scalar sum = 0.0f;
    for (auto* values : {&xHistory, &yHistory}) {
        sum = std::accumulate(values->begin(), values->begin() + history, sum);
    }
    if (!std::isfinite(sum)) {
        reset();
    }
}

Filter::IterationResults& Iir::iteration(const IterationResults& in, size_t, int32) {
    const auto history = static_cast<size_t>(taps - 1);
    xHistory[history] = (*in)[0];
    (*iterationResult)[0] = historyOutput(history);
    return iterationResult;
}

size_t Iir::endIteration(size_t frame) {
    const auto history = static_cast<size_t>(taps - 1);
    yHistory[history] = (*iterationResult)[0];
    buffer[frame] = yHistory[history];
    std::copy(xHistory.begin() + 1, xHistory.begin() + static_cast<std::ptrdiff_t>(history + 1),
              xHistory.begin());
    std::copy(yHistory.begin() + 1, yHistory.begin() + static_cast<std::ptrdiff_t>(history + 1),
              yHistory.begin());
    clearIfNotFinite();
    return frame;
}

} // namespace nodara
