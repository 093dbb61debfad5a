#pragma once

#include "runtime/Types.h"

#include <memory>
#include <string>

namespace nodara {

class Driver;
class Element;
class Graph;

/// What a graph and its elements share: the sample rate, the way back to the driver and to
/// the graph, and the elements by name.
///
/// The driver owns the graphs and a graph owns its context, so the context holds the driver
/// and the graph weakly: closing the driver frees the whole system.
class Context {
public:
    virtual ~Context() = default;

    virtual scalar getSampleRate() const { return sampleRate; }
    virtual void setSampleRate(scalar rate) { sampleRate = rate; }
    virtual Element* getElement(const std::string& name) = 0;
    /// Takes ownership of `element` once it is accepted.
    virtual void addElement(Element* element) = 0;

    /// Null while the graph stands outside a driver.
    std::shared_ptr<Driver> getDriver() const { return driver.lock(); }
    void setDriver(const std::shared_ptr<Driver>& owner) { driver = owner; }
    std::shared_ptr<Graph> getGraph() const { return graph.lock(); }
    void setGraph(const std::shared_ptr<Graph>& owner) { graph = owner; }

protected:
    scalar sampleRate = 44100.0f;
    std::weak_ptr<Driver> driver;
    std::weak_ptr<Graph> graph;
};

} // namespace nodara
