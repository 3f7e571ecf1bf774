// The small controls beside the Sound toggle: a level meter that shows how loud the microphone
// is while sound mode listens, and the button whose menu chooses the audio input.
#pragma once

#include <QToolButton>
#include <QWidget>

namespace gs {

// A thin horizontal bar, filled as far as the loudness reaches. It is fed only by the sound
// tick and repaints only when the filled part moves by a pixel or more; while sound mode is
// off it is hidden but keeps its place, so nothing beside it moves when it appears.
class SoundLevelMeter : public QWidget {
    Q_OBJECT

public:
    explicit SoundLevelMeter(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    // Moves the bar towards level (0..1) for dt seconds: quickly up, slowly down.
    void follow(double level, double dt);
    // Empties the bar.
    void reset();
    double level() const { return shown_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int filledWidth(double level) const;

    double shown_ = 0;
};

// A down-pointing chevron that opens its menu on a click, Space, Enter or Down.
class SoundInputButton : public QToolButton {
    Q_OBJECT

public:
    explicit SoundInputButton(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace gs
