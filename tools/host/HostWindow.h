#pragma once

#include <string>

typedef struct _XDisplay Display;

namespace torvane::host {

/// A top-level X window of the host's own, for an effect's window to open in: what a
/// workstation gives a plug-in. Fixed in size; closing it by the window manager is noticed.
/// One thread.
class HostWindow {
public:
    /// Opens the display that DISPLAY names and shows a window of `width` × `height` pixels.
    /// Throws std::runtime_error when there is no display.
    HostWindow(int width, int height, const std::string& title);
    ~HostWindow();
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;

    unsigned long id() const { return window; }
    Display* display() const { return connection; }

    /// Handles the events that wait; false once the user asked to close the window.
    bool handleEvents();
    /// Waits until the window is on the screen, at most `seconds`; false if it never was.
    bool waitUntilShown(double seconds);
    /// Writes what the window shows, the effect's window in it included, as a PNG file.
    /// Throws std::runtime_error when the picture cannot be taken or written.
    void screenshot(const std::string& path) const;

private:
    Display* connection = nullptr;
    unsigned long window = 0;
    unsigned long closeMessage = 0;
    int width;
    int height;
    bool shown = false;
    bool closeRequested = false;
};

} // namespace torvane::host
