#pragma once

// An X display for the tests that open windows, and synthetic input for them. A program that
// includes this header gets an environment that uses the display DISPLAY names, or starts an
// Xvfb of its own for the program's life when none is set (as in CI).

#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
// Xlib's macros of these names collide with GoogleTest's.
#undef None
#undef Bool

#include <csignal>
#include <fcntl.h>
#include <cstdlib>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace nodara::testing {

/// An Xvfb server of the test's own, stopped with the object.
class XvfbServer {
public:
    XvfbServer() {
        int pipe[2];
        if (::pipe(pipe) != 0) {
            return;
        }
        const std::string fd = std::to_string(pipe[1]);
        server = fork();
        if (server == 0) {
            // The server must not hold the test's output open, nor write into it.
            ::close(pipe[0]);
            const int quiet = ::open("/dev/null", O_WRONLY);
            dup2(quiet, 1);
            dup2(quiet, 2);
            execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1280x1024x24",
                   "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
            _exit(127);
        }
        ::close(pipe[1]);
        // Xvfb writes its display number once it takes connections.
        std::string number;
        pollfd ready{pipe[0], POLLIN, 0};
        char c = 0;
        while (poll(&ready, 1, 10000) > 0 && ::read(pipe[0], &c, 1) == 1 && c != '\n') {
            number += c;
        }
        ::close(pipe[0]);
        name = number.empty() ? "" : ":" + number;
    }
    ~XvfbServer() { stop(); }
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    /// ":N", or empty when the server did not start.
    const std::string& display() const { return name; }
    void stop() {
        if (server > 0) {
            kill(server, SIGKILL);
            waitpid(server, nullptr, 0);
            server = -1;
        }
    }

private:
    pid_t server = -1;
    std::string name;
};

class VirtualDisplay : public ::testing::Environment {
public:
    void SetUp() override {
        const char* display = std::getenv("DISPLAY");
        if (display != nullptr && *display != '\0') {
            return;
        }
        server = std::make_unique<XvfbServer>();
        ASSERT_FALSE(server->display().empty())
            << "no X display: install Xvfb (scripts/install-deps.sh)";
        setenv("DISPLAY", server->display().c_str(), 1);
    }

    void TearDown() override {
        if (server) {
            server.reset();
            unsetenv("DISPLAY");
        }
    }

private:
    std::unique_ptr<XvfbServer> server;
};

inline const auto* const virtualDisplay =
    ::testing::AddGlobalTestEnvironment(new VirtualDisplay);

/// The child windows of `window`, bottom first.
inline std::vector<Window> childWindows(Display* display, Window window) {
    Window root = 0, parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    std::vector<Window> result;
    if (XQueryTree(display, window, &root, &parent, &children, &count) != 0) {
        result.assign(children, children + count);
        XFree(children);
    }
    return result;
}

/// Pointer events sent to a window as the server would deliver them, in its coordinates.
class SyntheticPointer {
public:
    SyntheticPointer(Display* display, Window window) : display(display), window(window) {}

    void click(int x, int y) {
        send(ButtonPress, x, y, ButtonPressMask);
        send(ButtonRelease, x, y, ButtonReleaseMask);
    }
    /// Presses at (x, y), moves `dy` pixels down (up when negative) in steps, releases.
    void drag(int x, int y, int dy) {
        send(ButtonPress, x, y, ButtonPressMask);
        const int steps = 4;
        for (int i = 1; i <= steps; ++i) {
            send(MotionNotify, x, y + dy * i / steps, PointerMotionMask | ButtonMotionMask);
        }
        send(ButtonRelease, x, y + dy, ButtonReleaseMask);
    }

private:
    /// Button and motion events share these fields, which Xlib lays out alike in both; the
    /// button field of a press or release is a motion event's hint flag, left clear.
    void send(int type, int x, int y, long mask) {
        XEvent event{};
        XButtonEvent& pointer = event.xbutton;
        pointer.type = type;
        pointer.send_event = True;
        pointer.display = display;
        pointer.window = window;
        pointer.root = DefaultRootWindow(display);
        pointer.x = pointer.x_root = x;
        pointer.y = pointer.y_root = y;
        pointer.state = type == ButtonPress ? 0 : Button1Mask;
        pointer.button = type == MotionNotify ? 0 : Button1;
        pointer.same_screen = True;
        XSendEvent(display, window, False, mask, &event);
        // Once the server answers, it has queued the event for the window's owner.
        XSync(display, False);
    }

    Display* display;
    Window window;
};

} // namespace nodara::testing
