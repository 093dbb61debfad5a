#pragma once

namespace torvane {

/// What the panel needs of the effect that owns it: parameter values in, a user's edits out.
/// The panel speaks parameter indices only and never reaches into the amplifier.
/// Called on the window's thread.
class EditorHost {
public:
    virtual ~EditorHost() = default;
    virtual float parameterValue(int index) = 0;
    /// One gesture of the user on a parameter: begin, one or more changes, end.
    virtual void beginEdit(int index) = 0;
    virtual void automate(int index, float value) = 0;
    virtual void endEdit(int index) = 0;
};

} // namespace torvane
