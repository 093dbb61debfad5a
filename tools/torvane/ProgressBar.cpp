#include "tools/torvane/ProgressBar.h"

#include <algorithm>
#include <string>
#include <unistd.h>

namespace torvane::cli {

namespace {

constexpr int barWidth = 40;

} // namespace

ProgressBar::ProgressBar(long long totalFrames, double framesPerSecond)
    : total(totalFrames),
      shown(::isatty(STDERR_FILENO) == 1 && static_cast<double>(totalFrames) > framesPerSecond) {}

ProgressBar::~ProgressBar() {
    if (shown && !finished && drawnPercent >= 0) {
        std::fputc('\n', stderr);
    }
}

void ProgressBar::advance(long long framesDone) {
    if (!shown || total <= 0) {
        return;
    }
    const auto percent = static_cast<int>(std::min(100LL, framesDone * 100 / total));
    if (percent != drawnPercent) {
        draw(percent);
    }
}

void ProgressBar::finish() {
    if (shown && !finished) {
        draw(100);
        std::fputc('\n', stderr);
    }
    finished = true;
}

void ProgressBar::draw(int percent) {
    const int filled = percent * barWidth / 100;
    const std::string bar = std::string(static_cast<size_t>(filled), '#') +
                            std::string(static_cast<size_t>(barWidth - filled), '.');
    std::fprintf(stderr, "\rrendering [%s] %3d%%", bar.c_str(), percent);
    std::fflush(stderr);
    drawnPercent = percent;
}

} // namespace torvane::cli
