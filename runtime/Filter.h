#pragma once

#include "runtime/Element.h"
#include "runtime/ElementMeta.h"
#include "runtime/PropertiesHandler.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

class DSPContext;

/// An element of a DSPGraph. It owns its output buffers; consumers read them through
/// pointers, so nothing is copied between filters.
///
/// Threads: `init` and `setPropertiesHandler` run while the system is built; `process`,
/// `iteration`, `endIteration`, `propertyChanged` and `setSampleRate` on the audio thread.
/// `setMaxBlockSize` allocates and runs at start-up or at a rate change.
class Filter : public Element {
public:
    using IterationResults = std::shared_ptr<std::vector<scalar>>;

    using Element::propertyChanged;
    /// Goes to the properties handler; without one the filter has no scalar properties.
    void propertyChanged(const std::string& name, scalar value) override;

    virtual void init(const std::string& name, std::shared_ptr<DSPContext>& context);
    virtual void init(const std::string& name, const Properties& properties,
                      std::shared_ptr<DSPContext>& context);

    /// One sample; advances the state by one.
    virtual scalar process(scalar in);
    /// The form a graph calls: one pointer per input, into the filter's own outputs.
    virtual void process(const std::vector<scalar*>& in, size_t framesPerBuffer);
    virtual void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                         size_t framesPerBuffer);
    /// In place; returns the buffer written, or null when the form does nothing.
    virtual scalar* process(scalar* in, size_t framesPerBuffer);
    virtual void process(const scalar* in, scalar* out, size_t framesPerBuffer);

    /// The rate of the enclosing graph; may come on the audio thread after a rate change.
    virtual void setSampleRate(scalar sampleRate);

    /// One pass of the iterative method for `frame`, without committing state.
    virtual IterationResults& iteration(const IterationResults& in, size_t frame,
                                        int32 iteration);
    virtual IterationResults& getLastIterationResults();
    /// Commits the latest pass: advances the state and stores the result at `frame`.
    virtual size_t endIteration(size_t frame);

    /// Grows the output buffers (their contents are lost); a smaller size changes nothing.
    virtual void setMaxBlockSize(int32 maxBlockSize);
    virtual scalar* getOutput(int32 index) = 0;
    virtual std::vector<scalar*>& getOutputs() = 0;
    virtual std::shared_ptr<ElementMeta> getMeta();
    /// Clears the filter's state.
    virtual void reset() {}
    /// Brings the state to what a long run of constant input leaves, each port's value being
    /// its first frame, `in[port][0]`; the outputs then hold `frames` frames of that steady
    /// response. The default clears the state and runs the input for `settleSeconds` at the
    /// context's rate (at least one block): enough for anything that forgets its past within a
    /// few milliseconds. Slower elements override it. Off the audio thread.
    virtual void settle(const std::vector<scalar*>& in, size_t frames);
    static constexpr double settleSeconds = 0.02;
    virtual void setPropertiesHandler(const std::shared_ptr<PropertiesHandler>& handler);

    /// The filter that does this one's audio work: itself, unless it forwards to another.
    virtual Filter& audioFilter() { return *this; }
    const std::shared_ptr<PropertiesHandler>& getPropertiesHandler() const {
        return propertiesHandler;
    }
    /// Null once the context is gone, or for a filter never placed in one.
    std::shared_ptr<DSPContext> getContext() const { return context.lock(); }
    int32 getMaxBlockSize() const { return maxBlockSize; }

protected:
    /// The context owns the filter, so the filter holds it weakly.
    std::weak_ptr<DSPContext> context;
    int32 maxBlockSize = 0;
    std::shared_ptr<PropertiesHandler> propertiesHandler;
    Properties properties;
};

/// A filter with one output buffer of `maxBlockSize` values, zeroed when allocated, and a
/// one-value iteration result. `className` heads its messages.
class BufferedFilter : public Filter {
public:
    using Filter::process;
    /// Runs the explicit form into the filter's own buffer.
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;

    IterationResults& getLastIterationResults() override { return iterationResult; }
    /// The output buffer at `frame` takes the latest iteration result.
    size_t endIteration(size_t frame) override;
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override { return outputs; }

protected:
    /// `outputIndexClassName` is for the few classes whose index message names another class.
    explicit BufferedFilter(const char* className, const char* outputIndexClassName = nullptr);

    scalar* outputBuffer() { return buffer.get(); }

    const char* className;
    const char* outputIndexClassName;
    std::unique_ptr<scalar[]> buffer;
    std::vector<scalar*> outputs{nullptr};
    IterationResults iterationResult = std::make_shared<std::vector<scalar>>(1, 0.0f);
};

} // namespace nodara
