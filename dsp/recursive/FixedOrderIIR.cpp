#include "dsp/recursive/FixedOrderIIR.h"

#include <algorithm>
#include <cmath>

namespace nodara {

template <int N>
void FixedOrderIIR<N>::propertyChanged(const std::string& propertyName,
                                       const std::shared_ptr<std::vector<scalar>>& values) {
    if (propertyName == "A") {
        if (!values || values->size() != static_cast<size_t>(N)) {
            throw InvalidArgumentException(concat(className, ": Invalid number of A values ",
                                                  values ? values->size() : 0));
        }
        std::copy(values->begin(), values->end(), a.begin());
    } else if (propertyName == "B") {
        if (!values || values->size() != static_cast<size_t>(N + 1)) {
            throw InvalidArgumentException(concat(className, ": Invalid number of B values ",
                                                  values ? values->size() : 0));
        }
        std::copy(values->begin(), values->end(), b.begin());
    } else {
        throw InvalidArgumentException(concat(className, ": Unknown property ", propertyName));
    }
}

template <int N>
void FixedOrderIIR<N>::setCoefficients(const scalar* newA, const scalar* newB) {
    if (newA == nullptr) {
        throw NodaraException(concat(className, ": a cannot be null"));
    }
    std::copy(newA, newA + N, a.begin());
    if (newB == nullptr) {
        throw NodaraException(concat(className, ": b cannot be null"));
    }
    std::copy(newB, newB + N + 1, b.begin());
}

template <int N>
void FixedOrderIIR<N>::readCoefficients(const Properties& document, bool singleValueA) {
    std::string aText;
    std::string bText;
    requireProperty(document, "A", aText, stringParser,
                    InvalidArgumentException(concat("A is not defined. ", className, " name=", name)));
    requireProperty(document, "B", bText, stringParser,
                    InvalidArgumentException(concat("B is not defined. ", className, " name=", name)));
    std::vector<scalar> aValues;
    std::vector<scalar> bValues;
    if (singleValueA) {
        // The whole text goes through one conversion: anything after the first number is ignored.
        aValues.assign(1, scalarParser(aText));
    } else {
        splitScalars(aText, listSeparator, aValues);
    }
    splitScalars(bText, listSeparator, bValues);
    if (aValues.size() != static_cast<size_t>(N)) {
        throw InvalidArgumentException(concat("Invalid number of values for A (", aText,
                                              "). Expected ", N, ". ", className, " name=", name));
    }
    if (bValues.size() != static_cast<size_t>(N + 1)) {
        throw InvalidArgumentException(concat("Invalid number of values for B (", bText,
                                              "). Expected ", N + 1, ". ", className, " name=", name));
    }
    setCoefficients(aValues.data(), bValues.data());
}

// One sample through the state: (b0·x + b1·x1) + b2·x2 + … − a1·y1 − a2·y2 − …
template <int N>
scalar FixedOrderIIR<N>::step(scalar in) {
    scalar sum = b[0] * in + b[1] * x[0];
    for (int k = 2; k <= N; ++k) {
        sum = sum + b[k] * x[k - 1];
    }
    for (int k = 1; k <= N; ++k) {
        sum = sum - a[k - 1] * y[k - 1];
    }
    for (int k = N - 1; k > 0; --k) {
        x[k] = x[k - 1];
        y[k] = y[k - 1];
    }
    x[0] = in;
    y[0] = sum;
    return sum;
}

template <int N>
scalar FixedOrderIIR<N>::process(scalar in) {
    return step(in);
}

template <int N>
void FixedOrderIIR<N>::process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                               size_t framesPerBuffer) {
    const scalar* input = in[0];
    scalar* output = out[0];
    if (propertiesHandler && propertiesHandler->needsSampleUpdate()) {
        if (input == nullptr) {
            return;
        }
        runHandled(input, output, framesPerBuffer);
        clearIfNotFinite();
        return;
    }
    process(input, output, framesPerBuffer);
}

// A stretch runs on the coefficients in force, then the handler says how far they stand; from
// the first sample that needs new ones the state goes back to it, and that sample goes through
// `update` and `step` as before. The stretch doubles while the coefficients stand and shrinks
// when they change, so a signal that moves them every few samples wastes little.
template <int N>
void FixedOrderIIR<N>::runHandled(const scalar* in, scalar* out, size_t frames) {
    size_t frame = 0;
    while (frame < frames) {
        const size_t stretch = std::min(lookAhead, frames - frame);
        const std::array<scalar, N> pastX = x;
        const std::array<scalar, N> pastY = y;
        const scalar lastOutput = y[0];
        run(in + frame, out + frame, stretch);
        const size_t kept =
            propertiesHandler->unchangedFrames(in + frame, lastOutput, out + frame, stretch);
        if (kept >= stretch) {
            frame += stretch;
            lookAhead = std::min(2 * lookAhead, longestLookAhead);
            continue;
        }
        rewind(pastX, pastY, in + frame, out + frame, kept);
        frame += kept;
        propertiesHandler->update(this, in[frame], y[0]);
        out[frame] = step(in[frame]);
        ++frame;
        lookAhead = std::max(lookAhead / 4, shortestLookAhead);
    }
}

template <int N>
void FixedOrderIIR<N>::rewind(const std::array<scalar, N>& pastX,
                              const std::array<scalar, N>& pastY, const scalar* in,
                              const scalar* out, size_t frames) {
    for (size_t k = 0; k < static_cast<size_t>(N); ++k) {
        x[k] = k < frames ? in[frames - 1 - k] : pastX[k - frames];
        y[k] = k < frames ? out[frames - 1 - k] : pastY[k - frames];
    }
}

template <int N>
void FixedOrderIIR<N>::process(const scalar* in, scalar* out, size_t framesPerBuffer) {
    if (framesPerBuffer == 0 || in == nullptr || out == nullptr) {
        return;
    }
    run(in, out, framesPerBuffer);
    clearIfNotFinite();
}

template <int N>
void FixedOrderIIR<N>::run(const scalar* in, scalar* out, size_t framesPerBuffer) {
    const size_t head = std::min(framesPerBuffer, static_cast<size_t>(N));
    for (size_t i = 0; i < head; ++i) {
        out[i] = step(in[i]);
    }
    // From here on every older sample stands in the arrays themselves.
    for (size_t i = N; i < framesPerBuffer; ++i) {
        scalar sum = b[0] * in[i] + b[1] * in[i - 1];
        for (int k = 2; k <= N; ++k) {
            sum = sum + b[k] * in[i - static_cast<size_t>(k)];
        }
        for (int k = 1; k <= N; ++k) {
            sum = sum - a[k - 1] * out[i - static_cast<size_t>(k)];
        }
        out[i] = sum;
    }
    if (framesPerBuffer > head) {
        updateStateFromBlock(in, out, framesPerBuffer);
    }
}

/// The state takes the last N samples of a block longer than N.
template <int N>
void FixedOrderIIR<N>::updateStateFromBlock(const scalar* in, const scalar* out, size_t frames) {
    for (size_t k = 0; k < static_cast<size_t>(N); ++k) {
        x[k] = in[frames - 1 - k];
        y[k] = out[frames - 1 - k];
    }
}

template <int N>
Filter::IterationResults& FixedOrderIIR<N>::iteration(const IterationResults& in, size_t,
                                                      int32 pass) {
    if (pass == 0) {
        scalar sum = b[1] * x[0];
        for (int k = 2; k <= N; ++k) {
            sum = sum + b[k] * x[k - 1];
        }
        for (int k = 1; k <= N; ++k) {
            sum = sum - a[k - 1] * y[k - 1];
        }
        partialSum = sum;
    }
    currentInput = (*in)[0];
    (*iterationResult)[0] = b[0] * currentInput + partialSum;
    return iterationResult;
}

template <int N>
size_t FixedOrderIIR<N>::endIteration(size_t frame) {
    for (int k = N - 1; k > 0; --k) {
        x[k] = x[k - 1];
        y[k] = y[k - 1];
    }
    x[0] = currentInput;
    y[0] = (*iterationResult)[0];
    buffer[frame] = y[0];
    clearIfNotFinite();
    return frame;
}

template <int N>
void FixedOrderIIR<N>::clearState() {
    x.fill(0.0f);
    y.fill(0.0f);
    if (propertiesHandler) {
        propertiesHandler->reset();
    }
    currentInput = 0.0f;
    partialSum = 0.0f;
}

// A value that is not a number, or infinite, would stay in the recursion for ever and silence
// everything after it: the state starts afresh once such a value has got in. One check per
// block.
template <int N>
void FixedOrderIIR<N>::clearIfNotFinite() {
    scalar sum = 0.0f;
    for (int k = 0; k < N; ++k) {
        sum += x[k] + y[k];
    }
    if (!std::isfinite(sum)) {
        clearState();
    }
}

template <int N>
scalar FixedOrderIIR<N>::steadyOutput(scalar in) const {
    double gain = 0.0;
    double feedback = 1.0;
    for (int k = 0; k <= N; ++k) {
        gain += b[k];
    }
    for (int k = 0; k < N; ++k) {
        feedback += a[k];
    }
    const double out = static_cast<double>(in) * gain / feedback;
    return std::isfinite(out) ? static_cast<scalar>(out) : 0.0f;
}

// A handler's coefficients depend on the output they lead to: a few rounds find the point
// where the two agree (one, for networks that block DC).
template <int N>
void FixedOrderIIR<N>::settle(const std::vector<scalar*>& in, size_t frames) {
    clearState();
    const scalar input = in.empty() || in[0] == nullptr ? 0.0f : in[0][0];
    const bool handled = propertiesHandler && propertiesHandler->needsSampleUpdate();
    scalar out = steadyOutput(input);
    for (int round = 0; handled && round < 3; ++round) {
        propertiesHandler->update(this, input, out);
        propertiesHandler->update(this, input, out);
        out = steadyOutput(input);
    }
    x.fill(input);
    y.fill(out);
    if (frames > 0 && outputs[0] != nullptr) {
        std::fill_n(outputs[0], frames, out);
    }
}

template <int N>
void FixedOrderIIR<N>::reset() {
    clearState();
}

template class FixedOrderIIR<1>;
template class FixedOrderIIR<2>;
template class FixedOrderIIR<3>;

} // namespace nodara
