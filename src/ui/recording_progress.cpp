#include "ui/recording_progress.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

namespace gs {

const QString RecordingProgressDialog::kMessage = QStringLiteral("Recording palette animation…");

RecordingProgressDialog::RecordingProgressDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("recordingProgress"));
    setWindowTitle(QString());
    setWindowModality(Qt::WindowModal);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(24, 20, 24, 16);
    column->setSpacing(12);
    column->addWidget(new QLabel(kMessage, this));
    bar_ = new QProgressBar(this);
    bar_->setRange(0, kSteps);
    bar_->setValue(0);
    bar_->setTextVisible(false);
    bar_->setMinimumWidth(280);
    column->addWidget(bar_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    column->addWidget(buttons);
    setFixedSize(sizeHint());
}

void RecordingProgressDialog::setFramesDone(std::int64_t done, std::int64_t frameCount) {
    if (frameCount <= 0) return;
    const double fraction = std::clamp(static_cast<double>(done) / static_cast<double>(frameCount), 0.0, 1.0);
    bar_->setValue(static_cast<int>(fraction * kSteps));
}

int RecordingProgressDialog::barValue() const { return bar_->value(); }

namespace {

class DialogProgress final : public RecordingProgress {
public:
    DialogProgress(RecordingProgressDialog* dialog, std::function<void()> onCancel) : dialog_(dialog) {
        auto cancelling = cancelling_;
        QObject::connect(dialog, &QDialog::rejected, dialog, [cancelling, onCancel = std::move(onCancel)] {
            if (*cancelling) onCancel();
        });
    }
    // Accepting (not rejecting) hides it without a cancel; whoever waits for it to finish
    // (to give the keyboard back) still hears of it.
    ~DialogProgress() override {
        *cancelling_ = false;
        if (!dialog_) return;
        dialog_->accept();
        dialog_->deleteLater();
    }
    void setFramesDone(std::int64_t done, std::int64_t frameCount) override {
        if (dialog_) dialog_->setFramesDone(done, frameCount);
    }

private:
    QPointer<RecordingProgressDialog> dialog_;
    std::shared_ptr<bool> cancelling_ = std::make_shared<bool>(true);
};

}  // namespace

std::unique_ptr<RecordingProgress> progressOf(RecordingProgressDialog* dialog, std::function<void()> onCancel) {
    return std::make_unique<DialogProgress>(dialog, std::move(onCancel));
}

}  // namespace gs
