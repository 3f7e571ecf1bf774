#include "app/progress.h"

#include <QString>
#include <algorithm>
#include <cmath>

namespace gs {

void ProgressBar::update(double fraction, double seconds) {
    if (!enabled_ || seconds < kDelaySeconds) return;
    const double done = std::clamp(fraction, 0.0, 1.0);
    const int percent = static_cast<int>(std::floor(done * 100));
    if (percent == lastPercent_) return;
    lastPercent_ = percent;
    const int filled = static_cast<int>(std::floor(done * kWidth));
    out_ << '\r' << label_ << " [" << QString(filled, QLatin1Char('#'))
         << QString(kWidth - filled, QLatin1Char('.')) << "] "
         << QString::number(percent).rightJustified(3) << '%';
    out_.flush();
    shown_ = true;
}

void ProgressBar::finish() {
    if (!shown_) return;
    out_ << '\r' << QString(label_.size() + kWidth + 8, QLatin1Char(' ')) << '\r';
    out_.flush();
    shown_ = false;
}

}  // namespace gs
