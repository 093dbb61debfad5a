#include "runtime/Control.h"

#include "runtime/Exceptions.h"

#include <thread>

namespace nodara {

Control::Control(std::string name, std::string displayName, scalar value)
    : name(std::move(name)), displayName(std::move(displayName)), value(value) {}

void Control::setUIProperties(const Properties& ui) {
    readProperty(ui, "Image", image, stringParser);
    readProperty(ui, "ControlType", controlType, stringParser);
    readProperty(ui, "X", x, intParser);
    readProperty(ui, "Y", y, intParser);
    readProperty(ui, "Width", width, intParser);
    readProperty(ui, "Height", height, intParser);
    readProperty(ui, "NumberOfImages", numberOfImages, intParser);
    readProperty(ui, "HeightOfOneImage", heightOfOneImage, doubleParser);
}

void Control::setProperties(const Targets& targets) {
    if (properties) {
        throw NodaraException("Control: Properties are already set.");
    }
    properties = targets;
    const size_t count = properties ? properties->size() : 0;
    scalarMaps.assign(count, [](scalar v) { return v; });
    vectorMaps.assign(count, [](scalar) { return std::make_shared<std::vector<scalar>>(); });
    for (const auto& target : *properties) {
        target->value = getValue();
    }
    dirty.store(true, std::memory_order_release);
}

void Control::setMap(const std::shared_ptr<Property>& property, ScalarMap map) {
    if (!properties) {
        throw NodaraException("Control: Properties are not set.");
    }
    waitForLock();
    for (size_t i = 0; i < properties->size(); ++i) {
        auto& target = (*properties)[i];
        if (target->index == property->index) {
            scalarMaps[i] = std::move(map);
            target->value = scalarMaps[i](getValue());
            dirty.store(true, std::memory_order_release);
            break;
        }
    }
    unlock();
}

void Control::setValue(scalar newValue) {
    waitForLock();
    try {
        applyMaps(newValue);
    } catch (...) {
        unlock();
        throw;
    }
    unlock();
}

void Control::applyMaps(scalar newValue) {
    value.store(newValue, std::memory_order_relaxed);
    if (properties) {
        for (size_t i = 0; i < properties->size(); ++i) {
            auto& target = *(*properties)[i];
            if (target.type == Property::ScalarType) {
                target.value = scalarMaps[i](newValue);
            } else if (target.type == Property::VectorType) {
                target.vectorValue = vectorMaps[i](newValue);
            } else {
                throw NodaraException(concat("Control: Unknown property type: ", target.type));
            }
        }
    }
    dirty.store(true, std::memory_order_release);
}

void Control::waitForLock() {
    while (lock.test_and_set(std::memory_order_acquire)) {
        std::this_thread::yield();
    }
}

} // namespace nodara
