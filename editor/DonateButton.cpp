#include "editor/DonateButton.h"

#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>

namespace torvane {

namespace {

widgets::Rect rectFor(const std::shared_ptr<widgets::Bitmap>& bitmap) {
    const int width = bitmap ? bitmap->width() : 0;
    const int height = bitmap ? bitmap->height() / 2 : 0;
    return {DonateButton::left, DonateButton::top, DonateButton::left + width,
            DonateButton::top + height};
}

} // namespace

DonateButton::DonateButton(std::string url, std::shared_ptr<widgets::Bitmap> bitmap)
    : widgets::OnOffButton(rectFor(bitmap), nullptr, -1, bitmap), url(std::move(url)) {}

void DonateButton::mouseDown(const widgets::Pointer&) { setValue(1.0f); }

void DonateButton::mouseUp(const widgets::Pointer& pointer) {
    setValue(0.0f);
    if (rect().contains(pointer.x, pointer.y)) {
        openPage();
    }
}

void DonateButton::openPage() const { startDetached({"xdg-open", url}); }

// Two forks: the child starts the program as a grandchild and leaves at once, so the caller
// reaps it without waiting and the program belongs to init, not to the host. Everything the
// children need is made before the fork: after it, only exec and _exit run.
bool startDetached(const std::vector<std::string>& command) {
    if (command.empty()) {
        return false;
    }
    std::vector<char*> argv;
    for (const auto& word : command) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        setsid();
        if (fork() == 0) {
            execvp(argv[0], argv.data());
            _exit(127);
        }
        _exit(0);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace torvane
