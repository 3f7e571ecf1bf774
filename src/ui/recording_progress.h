// The window's display of a palette animation recording in progress.
#pragma once

#include <QDialog>
#include <cstdint>
#include <functional>
#include <memory>

class QProgressBar;

namespace gs {

// What the controller needs of the display; tests put a recorder of their own in its place.
// Destroying it takes the display away without counting as a cancel.
class RecordingProgress {
public:
    virtual ~RecordingProgress() = default;
    virtual void setFramesDone(std::int64_t done, std::int64_t frameCount) = 0;
};

// The message over the bar and a Cancel button. Cancel, Escape and closing the dialog reject it.
class RecordingProgressDialog : public QDialog {
    Q_OBJECT

public:
    static const QString kMessage;
    static constexpr int kSteps = 1000;  // the bar's resolution, whatever the frame count

    explicit RecordingProgressDialog(QWidget* parent = nullptr);
    void setFramesDone(std::int64_t done, std::int64_t frameCount);
    int barValue() const;

private:
    QProgressBar* bar_ = nullptr;
};

// Wraps a shown dialog: its rejection calls onCancel until the wrapper is destroyed, which
// closes the dialog.
std::unique_ptr<RecordingProgress> progressOf(RecordingProgressDialog* dialog, std::function<void()> onCancel);

}  // namespace gs
