// A brief, calm note over the bottom of a host widget ("Link copied to the clipboard"): a dark
// rounded label that stays a few seconds, then fades. It takes no input; a newer note replaces
// the one shown.
#pragma once

#include <QLabel>

class QGraphicsOpacityEffect;
class QPropertyAnimation;
class QTimer;

namespace gs {

class NoticeView : public QLabel {
    Q_OBJECT

public:
    static constexpr int kShownMs = 2600;
    static constexpr int kFadeMs = 450;

    explicit NoticeView(QWidget* host);
    // Shows the text at once, for kShownMs, then fades it out.
    void showNotice(const QString& text);
    // The text on screen now; empty once it has gone.
    QString shownText() const { return isVisible() ? text() : QString(); }
    // A drawer over the host's right edge that the note keeps clear of while it is open.
    void setObstruction(QWidget* drawer) { obstruction_ = drawer; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    QWidget* host_;
    QWidget* obstruction_ = nullptr;
    QTimer* hold_;
    QGraphicsOpacityEffect* opacity_;
    QPropertyAnimation* fade_;
};

}  // namespace gs
