#pragma once

#include <X11/Xlib.h>

namespace torvane::widgets {

/// For the life of one scope on the calling thread, X protocol errors on `display` are counted
/// in `errors` instead of ending the process. Errors on other displays (the host's) go to the
/// handler that stood before. Xlib reports an error when it reads the connection, so every
/// scope that talks to `display` stands inside a trap.
class XErrorTrap {
public:
    XErrorTrap(Display* display, int& errors);
    ~XErrorTrap();
    XErrorTrap(const XErrorTrap&) = delete;
    XErrorTrap& operator=(const XErrorTrap&) = delete;

private:
    using Handler = int (*)(Display*, XErrorEvent*);
    static int handle(Display* display, XErrorEvent* event);

    Display* display;
    int& errors;
    XErrorTrap* outer;
    Handler previous;
};

} // namespace torvane::widgets
