#include "editor/widgets/XErrorTrap.h"

namespace torvane::widgets {

namespace {

thread_local XErrorTrap* innermost = nullptr;

} // namespace

XErrorTrap::XErrorTrap(Display* display, int& errors)
    : display(display), errors(errors), outer(innermost), previous(XSetErrorHandler(handle)) {
    innermost = this;
}

XErrorTrap::~XErrorTrap() {
    innermost = outer;
    XSetErrorHandler(previous);
}

int XErrorTrap::handle(Display* display, XErrorEvent* event) {
    const XErrorTrap* trap = innermost;
    for (; trap != nullptr; trap = trap->outer) {
        if (trap->display == display) {
            ++trap->errors;
            return 0;
        }
        if (trap->outer == nullptr) {
            break;
        }
    }
    // Not ours: the handler that stood before the outermost trap decides.
    return trap != nullptr && trap->previous != nullptr ? trap->previous(display, event) : 0;
}

} // namespace torvane::widgets
