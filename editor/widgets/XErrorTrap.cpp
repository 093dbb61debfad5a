#include "editor/widgets/XErrorTrap.h"

namespace torvane::widgets {

namespace {

thread_local XErrorTrap* innermost = nullptr;

} // namespace

XErrorTrap::XErrorTrap(Display* display, int& errors)
    : display(display), errors(errors), outer(innermost), previous(XSetErrorHandler(handle)),
      previousIo(XSetIOErrorHandler(handleLostConnection)) {
    innermost = this;
}

XErrorTrap::~XErrorTrap() {
    innermost = outer;
    XSetIOErrorHandler(previousIo);
    XSetErrorHandler(previous);
}

const XErrorTrap* XErrorTrap::find(Display* display) {
    const XErrorTrap* trap = innermost;
    while (trap != nullptr && trap->display != display && trap->outer != nullptr) {
        trap = trap->outer;
    }
    return trap;
}

int XErrorTrap::handle(Display* display, XErrorEvent* event) {
    const XErrorTrap* trap = find(display);
    if (trap != nullptr && trap->display == display) {
        ++trap->errors;
        return 0;
    }
    // Not ours: the handler that stood before the outermost trap decides.
    return trap != nullptr && trap->previous != nullptr ? trap->previous(display, event) : 0;
}

// Returning hands the lost connection on to the display's exit handler, which the frame sets
// so that the process goes on. Another display's loss is the host's affair.
int XErrorTrap::handleLostConnection(Display* display) {
    const XErrorTrap* trap = find(display);
    if (trap != nullptr && trap->display == display) {
        return 0;
    }
    return trap != nullptr && trap->previousIo != nullptr ? trap->previousIo(display) : 0;
}

} // namespace torvane::widgets
