#pragma once

#include "runtime/Properties.h"
#include "runtime/Property.h"
#include "runtime/Types.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace nodara {

/// One user value from 0 to 1 that fans out to any number of targets, each through its own
/// map. A value is mapped on the writer's thread and applied by the driver on the audio
/// thread at the head of a block.
///
/// Threads: `setValue` and `setMap` from any thread, waiting on a one-bit spin lock; the
/// audio thread only tries the lock (`tryLock`) and leaves a busy control to the next block.
class Control {
public:
    using ScalarMap = std::function<scalar(scalar)>;
    using VectorMap = std::function<std::shared_ptr<std::vector<scalar>>(scalar)>;
    using Targets = std::shared_ptr<std::vector<std::shared_ptr<Property>>>;

    Control(std::string name, std::string displayName, scalar value);

    /// Reads the panel keys "Image", "ControlType", "X", "Y", "Width", "Height",
    /// "NumberOfImages" and "HeightOfOneImage", each optional.
    void setUIProperties(const Properties& properties);
    /// Once only; installs identity maps and marks every target with the present value.
    void setProperties(const Targets& targets);
    /// Any thread, waits. Replaces the map of the target with the same index as `property`.
    void setMap(const std::shared_ptr<Property>& property, ScalarMap map);
    /// Any thread, waits. Maps `value` to every target and marks the control dirty.
    void setValue(scalar value);
    /// The unmapped value, read without the lock.
    scalar getValue() const { return value.load(std::memory_order_relaxed); }

    /// Audio thread: one attempt, no waiting.
    bool tryLock() { return !lock.test_and_set(std::memory_order_acquire); }
    void unlock() { lock.clear(std::memory_order_release); }
    bool isDirty() const { return dirty.load(std::memory_order_acquire); }
    void clearDirty() { dirty.store(false, std::memory_order_release); }

    const Targets& getProperties() const { return properties; }
    const std::string& getName() const { return name; }
    const std::string& getDisplayName() const { return displayName; }
    const std::string& getControlType() const { return controlType; }
    const std::string& getImage() const { return image; }
    int32 getX() const { return x; }
    int32 getY() const { return y; }
    int32 getWidth() const { return width; }
    int32 getHeight() const { return height; }
    int32 getNumberOfImages() const { return numberOfImages; }
    double getHeightOfOneImage() const { return heightOfOneImage; }
    int32 getTag() const { return tag; }
    void setTag(int32 value) { tag = value; }

private:
    void waitForLock();
    void applyMaps(scalar value);

    std::string controlType;
    std::string image;
    int32 x = 0;
    int32 y = 0;
    int32 width = 0;
    int32 height = 0;
    int32 numberOfImages = 0;
    double heightOfOneImage = 0.0;
    int32 tag = -1;
    std::string name;
    std::string displayName;
    std::atomic<scalar> value;
    std::atomic<bool> dirty{false};
    std::atomic_flag lock = ATOMIC_FLAG_INIT;
    Targets properties;
    std::vector<ScalarMap> scalarMaps;
    std::vector<VectorMap> vectorMaps;
};

} // namespace nodara
