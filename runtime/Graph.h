#pragma once

#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <boost/dynamic_bitset.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

class Context;

/// Everything the driver runs: a named block processor with inputs, outputs, a rate
/// multiplier and three run-state switches.
///
/// `Off` and `Bypass` are bit sets so that several controls can hold one graph: each owns a
/// bit (`Bypass` is bit 0, `Bypass_1` bit 1, ...) and the graph is bypassed while any is set.
///
/// Threads: the switches and `setProperty` run on the audio thread at the head of a block,
/// or on the building thread during `Driver::init`.
class Graph {
public:
    virtual ~Graph() = default;

    virtual const std::string& getName() const { return name; }
    virtual void setName(const std::string& graphName) { name = graphName; }
    virtual int32 getId() const { return id; }
    virtual void setId(int32 graphId) { id = graphId; }
    virtual std::shared_ptr<Context> getContext() = 0;
    virtual int32 getNumberOfOutputs() const { return numberOfOutputs; }
    virtual int32 getNumberOfInputs() const { return numberOfInputs; }
    /// Refuses counts below 0 and above the document limit.
    virtual void setNumberOfInputs(int32 count);
    virtual void setMaxBlockSize(int32 size) = 0;
    virtual void setSampleRate(scalar rate) = 0;
    virtual scalar* getResult(std::string outputName);
    virtual scalar* getOutput(int32 index);
    virtual std::vector<scalar*>& getOutputs() { return outputs; }
    /// Runs one block; fills `outputs`.
    virtual void process(const std::vector<scalar*>& inputs, size_t frames) = 0;
    virtual void process(const std::vector<scalar*>& inputs, std::vector<scalar*>& outputs,
                         size_t frames) = 0;
    /// Completes the graph once the parser has set it up.
    virtual void init() = 0;
    /// Clears the state of everything in the graph.
    virtual void reset() {}
    /// Brings the graph to the state a long run of constant inputs leaves (each input's first
    /// frame held), whether it is off or bypassed or not: a graph switched in later starts
    /// settled too. Fills `outputs` with `frames` frames of the steady response. The base runs
    /// one block. Off the audio thread.
    virtual void settle(const std::vector<scalar*>& inputs, size_t frames);
    virtual void setOff(bool value, size_t index);
    virtual void setSuspended(bool value);
    virtual void setBypass(bool value, size_t index);
    /// The rate of this graph's input relative to the system rate.
    virtual void setInputMultiplier(double value);
    virtual double getInputMultiplier() const { return inputMultiplier; }
    virtual void setOutputMultiplier(double value) { outputMultiplier = value; }
    /// An off or bypassed graph passes its input rate on.
    virtual double getOutputMultiplier() const;
    /// Ratio of this graph's output rate to its input rate.
    virtual void setMultiplier(double value);
    virtual double getMultiplier() const { return multiplier; }
    /// Reads `Off` and `Bypass`; subclasses read their own keys and call this last.
    virtual void init(const Properties& properties);
    /// Decodes "Off", "Bypass" and "Suspend", with an optional "_<bit>" suffix.
    virtual void setProperty(const std::string& name, scalar value);

    bool isOff() const { return off; }
    bool isBypassed() const { return bypassed; }
    bool isSuspended() const { return suspended; }

protected:
    std::string name;
    int32 id = 0;
    int32 numberOfInputs = 0;
    int32 numberOfOutputs = 0;
    int32 maxBlockSize = -1;
    double multiplier = 1.0;
    double inputMultiplier = 1.0;
    double outputMultiplier = 1.0;
    std::vector<scalar*> outputs;
    bool off = false;
    bool bypassed = false;
    bool suspended = false;
    boost::dynamic_bitset<> bypassBits{1};
    boost::dynamic_bitset<> offBits{1};

private:
    void setSwitchBit(boost::dynamic_bitset<>& bits, bool& state, bool value, size_t index);
    void tellDriverRatesChanged();
};

} // namespace nodara
