#pragma once

#include "amp/networks/WrappedFilterPropertyCalculator.h"

#include <map>
#include <memory>
#include <string>

namespace torvane {

using nodara::DSPContext;
using nodara::ElementMeta;
using nodara::int32;
using nodara::Properties;

/// A filter that looks like any other to its graph but forwards all audio work to an inner
/// filter owned by a calculator, and hands parameter changes and the sample rate to that
/// calculator. Parameters that arrive before the calculator are kept and handed over with it.
///
/// Properties: `PropertyNames` ("|" list of the parameter keys), each named parameter, and
/// `InputIndex` (given on to the inner filter).
class FilterWrapper : public Filter {
public:
    using Filter::propertyChanged;
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// The inner filter's; itself while it has none.
    Filter& audioFilter() override;
    scalar process(scalar in) override;
    void process(const std::vector<scalar*>& in, size_t framesPerBuffer) override;
    void process(const std::vector<scalar*>& in, std::vector<scalar*>& out,
                 size_t framesPerBuffer) override;
    scalar* process(scalar* in, size_t framesPerBuffer) override;
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    /// Goes to the calculator, not to the filter.
    void setSampleRate(scalar sampleRate) override;
    IterationResults& iteration(const IterationResults& in, size_t frame,
                                int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;
    void setMaxBlockSize(int32 maxBlockSize) override;
    scalar* getOutput(int32 index) override;
    std::vector<scalar*>& getOutputs() override;
    std::shared_ptr<ElementMeta> getMeta() override;
    void reset() override;
    void settle(const std::vector<scalar*>& in, size_t frames) override;
    /// Must come before the graph's first block size reaches the wrapper.
    void setCalculator(const std::shared_ptr<WrappedFilterPropertyCalculator>& calculator);

    const std::map<std::string, scalar>& getValues() const { return values; }

private:
    Filter& inner();

    std::map<std::string, scalar> values;
    std::shared_ptr<WrappedFilterPropertyCalculator> calculator;
    std::shared_ptr<Filter> filter;
};

} // namespace torvane
