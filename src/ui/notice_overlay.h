// A brief, calm notice over the bottom of a host widget ("Copied …"): a line of text on a dark
// rounded plate that stays a few seconds and fades out. It takes no input; a new notice
// replaces the one shown.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>

class QPropertyAnimation;
class QTimer;

namespace gs {

class NoticeOverlay : public QWidget {
    Q_OBJECT

public:
    static constexpr int kShownMs = 3500;
    static constexpr int kFadeMs = 600;

    explicit NoticeOverlay(QWidget* host);

    void showNotice(const QString& text);
    QString text() const { return text_; }
    // The part of the host the notice is centred in (the whole host by default), so that it
    // can keep clear of panels over the host.
    std::function<QRect()> freeArea;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    QString text_;
    QTimer* hold_;
    QPropertyAnimation* fade_;
};

}  // namespace gs
