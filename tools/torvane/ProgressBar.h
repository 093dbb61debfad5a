#pragma once

#include <cstdio>

namespace torvane::cli {

/// A progress bar on stderr for a long render: drawn only when stderr is a terminal and the
/// audio lasts more than about a second, and redrawn only when the percentage changes.
class ProgressBar {
public:
    ProgressBar(long long totalFrames, double framesPerSecond);
    /// Ends the line if the bar was left unfinished, so a following message starts afresh.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void advance(long long framesDone);
    /// Draws 100% and ends the line.
    void finish();

private:
    void draw(int percent);

    long long total;
    bool shown;
    bool finished = false;
    int drawnPercent = -1;
};

} // namespace torvane::cli
