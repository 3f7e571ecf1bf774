// A one-line progress bar on a terminal for renders that take a while: nothing in their first
// second, and nothing at all when the stream is not a terminal.
#pragma once

#include <QTextStream>

namespace gs {

class ProgressBar {
public:
    static constexpr double kDelaySeconds = 1.0;
    static constexpr int kWidth = 30;  // cells of the bar

    ProgressBar(QTextStream& terminal, bool isTerminal) : out_(terminal), enabled_(isTerminal) {}
    // Shows `fraction` (0..1) of the work done `seconds` after it began.
    void update(double fraction, double seconds);
    // Clears the line if anything was shown.
    void finish();

private:
    QTextStream& out_;
    bool enabled_;
    bool shown_ = false;
    int lastPercent_ = -1;
};

}  // namespace gs
