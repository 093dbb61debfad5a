#pragma once

#include <X11/Xlib.h>

namespace torvane::widgets {

/// For the life of one scope on the calling thread, X protocol errors on `display` are counted
/// in `errors` instead of ending the process, and a lost connection to it is left to the
/// display's own exit handler. Errors on other displays (the host's) go to the handlers that
/// stood before. Xlib reports an error when it reads the connection, so every scope that talks
/// to `display` stands inside a trap.
class XErrorTrap {
public:
    XErrorTrap(Display* display, int& errors);
    ~XErrorTrap();
    XErrorTrap(const XErrorTrap&) = delete;
    XErrorTrap& operator=(const XErrorTrap&) = delete;

private:
    using Handler = int (*)(Display*, XErrorEvent*);
    using IoHandler = int (*)(Display*);
    static int handle(Display* display, XErrorEvent* event);
    static int handleLostConnection(Display* display);
    /// The trap of `display` in this thread's scopes, or the outermost one, or null.
    static const XErrorTrap* find(Display* display);

    Display* display;
    int& errors;
    XErrorTrap* outer;
    Handler previous;
    IoHandler previousIo;
};

} // namespace torvane::widgets
