// Export: the picture on screen saved as a PNG, one palette cycle recorded as a movie, each
// written to the temporary directory first and then offered in a save dialog.
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QStandardPaths>

#include "export/image_export.h"
#include "export/palette_animation.h"
#include "export/recording.h"
#include "library/atomic_file.h"
#include "ui/background_recording.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/recording_progress.h"

namespace gs {

namespace {

// The user's folder of that kind, made if it is missing (the home folder without one).
QString userFolder(QStandardPaths::StandardLocation kind) {
    QString folder = QStandardPaths::writableLocation(kind);
    if (folder.isEmpty()) folder = QDir::homePath();
    QDir().mkpath(folder);
    return folder;
}

}  // namespace

void MacViewController::installExportPresenters() {
    exportTime = [] { return QDateTime::currentDateTimeUtc(); };
    presentSaveDialog = [this](const SaveOffer& offer, std::function<void(const QString&)> onChosen) {
        auto* dialog = new QFileDialog(this, offer.title);
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setFileMode(QFileDialog::AnyFile);
        dialog->setNameFilter(offer.nameFilter);
        dialog->setDefaultSuffix(offer.suffix);
        dialog->setDirectory(QFileInfo(offer.suggestedPath).absolutePath());
        dialog->selectFile(QFileInfo(offer.suggestedPath).fileName());
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(dialog, &QFileDialog::fileSelected, this, [onChosen = std::move(onChosen)](const QString& file) { onChosen(file); });
        returnKeyboardAfter(dialog);
        dialog->open();
    };
    presentRecordingProgress = [this](std::function<void()> onCancel) {
        auto* dialog = new RecordingProgressDialog(this);
        returnKeyboardAfter(dialog);
        dialog->open();
        return progressOf(dialog, std::move(onCancel));
    };
}

// --- Pictures -------------------------------------------------------------------------------

void MacViewController::saveImage() { offerPicture(lastCGImage_, tr("Save Image")); }

void MacViewController::saveJuliaImage() { offerPicture(lastJuliaCGImage_, tr("Save Julia Image")); }

// Offered under the temporary file's name, in the Pictures folder.
void MacViewController::offerPicture(const QImage& picture, const QString& title) {
    const auto file = exportPicture(picture, exportTime());
    if (!file) return;
    offerFile(*file, QStandardPaths::PicturesLocation, QFileInfo(*file).fileName(),
              {title, {}, tr("PNG image (*.png)"), QStringLiteral("png")});
}

// Offers the file as `name` in the user's folder of its kind (made if missing). The temporary
// file stays where it is.
void MacViewController::offerFile(const QString& path, QStandardPaths::StandardLocation folder, const QString& name,
                                  SaveOffer offer) {
    offer.suggestedPath = QDir(userFolder(folder)).filePath(name);
    presentSaveDialog(offer, [this, path](const QString& chosen) { saveExportAs(path, chosen); });
}

// The copy replaces the chosen file in one step (the dialog has asked about replacing it).
void MacViewController::saveExportAs(const QString& from, const QString& to) {
    if (QFileInfo(from) == QFileInfo(to)) return;
    QFile source(from);
    QString why;
    if (!source.open(QIODevice::ReadOnly))
        why = source.errorString();
    else if (writeFileAtomically(to, source.readAll(), &why))
        return;
    presentTitledAlert({tr("Couldn't Save"), tr("“%1” couldn't be written: %2.").arg(QFileInfo(to).fileName(), why)});
}

// --- Palette animation recording --------------------------------------------------------------

bool MacViewController::canRecord() const {
    return !isRendering_ && !isRecordingPaletteAnimation_ && !fractalView_->frame().data.empty();
}

bool MacViewController::canRecordJulia() const {
    return !isRendering_ && !isRecordingPaletteAnimation_ && !juliaView_->isComputing() && juliaView_->counts();
}

void MacViewController::recordPaletteAnimationAction() {
    if (!canRecord()) return;
    startRecording(snapshotMandelbrotPicture(mandelbrotColours(), fractalView_->frame(), settings_.animationSpeed));
}

void MacViewController::recordJuliaPaletteAnimation() {
    if (!canRecordJulia()) return;
    startRecording(snapshotJuliaPicture(juliaColours(), juliaView_->counts(), juliaView_->bufferWidth(),
                                        juliaView_->bufferHeight(), settings_.animationSpeed));
}

// The snapshot holds everything the movie needs, sound's current values included: whatever
// changes in the window from now on does not reach the movie.
void MacViewController::startRecording(PaletteAnimationSnapshot snapshot) {
    isRecordingPaletteAnimation_ = true;
    recordingCancelled_ = false;
    if (!recording_) recording_ = std::make_unique<BackgroundRecording>(this);
    recordingProgress_ = presentRecordingProgress([this] { cancelRecording(); });
    RecordingOptions options;
    options.encoder = recordingEncoder;
    recording_->start(
        std::move(snapshot), options,
        [this](std::int64_t done, std::int64_t count) {
            if (recordingProgress_) recordingProgress_->setFramesDone(done, count);
        },
        [this](const RecordingResult& result) { recordingFinished(result); });
}

// The temporary movie has a unique name; the one offered says when it was made, as a
// picture's does.
void MacViewController::offerMovie(const QString& path) {
    const QString name = imageExportFileName(exportTime()).replace(QLatin1String(".png"), QLatin1String(".mov"));
    offerFile(path, QStandardPaths::MoviesLocation, name,
              {tr("Save Palette Animation"), {}, tr("QuickTime movie (*.mov)"), QStringLiteral("mov")});
}

void MacViewController::cancelRecording() {
    if (!isRecordingPaletteAnimation_) return;
    recordingCancelled_ = true;
    recording_->cancel();
    recordingProgress_.reset();
}

void MacViewController::recordingFinished(const RecordingResult& result) {
    isRecordingPaletteAnimation_ = false;
    recordingProgress_.reset();
    if (recordingCancelled_) {
        // Cancelled after the last frame: the movie was made, but nobody wants it any more.
        if (result.status == RecordingResult::Status::recorded) QFile::remove(result.path);
        return;
    }
    switch (result.status) {
    case RecordingResult::Status::recorded:
        offerMovie(result.path);
        return;
    case RecordingResult::Status::failed:
        if (!result.path.isEmpty()) QFile::remove(result.path);
        presentTitledAlert({tr("Couldn't Record"), tr("The palette animation couldn't be created.")});
        return;
    case RecordingResult::Status::cancelled:
        return;
    }
}

// --- The Julia companion's context menu -----------------------------------------------------

void MacViewController::showJuliaContextMenu(const QPoint& globalPos) {
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("juliaContextMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Record Palette Animation…"), this, &MacViewController::recordJuliaPaletteAnimation)
        ->setEnabled(canRecordJulia());
    menu->addAction(tr("Save Image…"), this, &MacViewController::saveJuliaImage)->setEnabled(!lastJuliaCGImage_.isNull());
    menu->popup(globalPos);
}

}  // namespace gs
