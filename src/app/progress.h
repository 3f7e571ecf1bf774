// A one-line progress bar on a terminal for work that takes a while: nothing in its first
// second, and nothing at all when the stream is not a terminal.
#pragma once

#include <QString>
#include <QTextStream>

namespace gs {

class ProgressBar {
public:
    static constexpr double kDelaySeconds = 1.0;
    static constexpr int kWidth = 30;  // cells of the bar

    // label: what the work is, before the bar ("Rendering [####......]  40%").
    ProgressBar(QTextStream& terminal, bool isTerminal, QString label = QStringLiteral("Rendering"))
        : out_(terminal), enabled_(isTerminal), label_(std::move(label)) {}
    // Shows `fraction` (0..1) of the work done `seconds` after it began.
    void update(double fraction, double seconds);
    // Clears the line if anything was shown.
    void finish();

private:
    QTextStream& out_;
    bool enabled_;
    QString label_;
    bool shown_ = false;
    int lastPercent_ = -1;
};

}  // namespace gs
