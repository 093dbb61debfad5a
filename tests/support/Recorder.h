#pragma once

#include "description/PluginDSPElementFactory.h"
#include "runtime/Exceptions.h"
#include "runtime/Filter.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace nodara::testing {

/// A filter that remembers the block sizes and rates it was given. It does not read its input,
/// so that a graph may claim a rate change without an element that really makes one.
class Recorder : public BufferedFilter {
public:
    Recorder() : BufferedFilter("Recorder") {}
    using BufferedFilter::process;
    void process(const std::vector<scalar*>&, std::vector<scalar*>& out, size_t frames) override {
        blocks.push_back(frames);
        std::fill_n(out[0], frames, static_cast<scalar>(frames));
    }
    void setSampleRate(scalar rate) override { rates.push_back(rate); }
    std::vector<size_t> blocks;
    std::vector<scalar> rates;
};

/// Makes "Recorder" elements and keeps a pointer to each, in the order made.
class RecorderFactory : public PluginDSPElementFactory {
public:
    Filter* create(const std::string& type) override {
        if (type != "Recorder") {
            throw NodaraException("Unknown element type: " + type);
        }
        made.push_back(new Recorder());
        return made.back();
    }
    bool hasType(const std::string& type) override { return type == "Recorder"; }
    std::vector<Recorder*> made;
};

} // namespace nodara::testing
