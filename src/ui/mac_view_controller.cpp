// The controller's set-up, the views' callbacks, layout handling and the alerts.
#include "ui/mac_view_controller.h"

#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

#include "export/image_export.h"
#include "library/preferences.h"
#include "sound/sound_analyzer.h"
#include "ui/background_recording.h"
#include "ui/hud_stat_view.h"
#include "ui/julia_view.h"
#include "ui/mandelbrot_view.h"
#include "ui/recording_progress.h"
#include "ui/tuning_panel_view.h"

namespace gs {

namespace {
constexpr int kMaxRenderThreads = 64;
}  // namespace

const QString MacViewController::kZoomLimitMessage = QStringLiteral(
    "You have reached the current limits of the zoom - it is as if you had zoomed 10 thousand "
    "times inside an atom!");
const QString MacViewController::kResetAllMessage = QStringLiteral(
    "This will clear your zoom history and reset the color palette, frequency, and shading "
    "effects to their defaults. Are you sure?");

MacViewController::MacViewController(QWidget* parent, std::unique_ptr<AudioInput> soundInput)
    : QWidget(parent),
      rng_(makeSystemRandom()),
      preferences_(std::make_unique<PreferencesStore>()),
      trace_(qEnvironmentVariableIntValue("GLIMMERSCAPE_TRACE") == 1) {
    // Stale renders run to completion; like a global concurrent queue, the pool has threads
    // enough that a new render never waits behind them.
    renderPool_.setMaxThreadCount(kMaxRenderThreads);
    installDefaultPresenters();
    installDialogPresenters();
    buildInterface();
    buildPalettes();
    buildSoundAnalyzer(std::move(soundInput));
    connectViewCallbacks();
    loadPreferences();
    setUpBookmarks();
    restoreWindowPlace();
    regenerate();  // the first picture gets a fresh smooth palette
    refreshControls();
    if (trace_) listenForTraceCommands();
}

// Render workers finish before the views and this object go away; they stop at the next row.
// Closing the window as its QWidget part goes hides the tuning panel, and an open help card
// would then report back to this object when it is already gone.
MacViewController::~MacViewController() {
    stopWorkers_->store(true);
    renderPool_.waitForDone();
    if (tuningPanel_) tuningPanel_->onHelpChanged = nullptr;
}

bool MacViewController::workersIdle() const { return renderPool_.activeThreadCount() == 0; }

QStringList MacViewController::statusTexts() const {
    return {hudZoomStat_->value(), hudIterStat_->value(), hudCenterStat_->value(),
            hudRenderStat_->value()};
}

void MacViewController::connectViewCallbacks() {
    MandelbrotView* view = fractalView_;
    view->onZoomRequested = [this](const RectF& pixels) { handleZoomRequested(pixels); };
    view->onZoomHistoryBackRequested = [this] { handleZoomHistoryBack(); };
    view->onZoomHistoryForwardRequested = [this] { handleZoomHistoryForward(); };
    view->onColorCycleRequested = [this] { handleColorCycle(); };
    view->onSelectionChanged = [this](const std::optional<RectF>&) {
        hideTuningHelp();
        stopAutoExplore();
    };
    view->onPaletteShiftBegan = [this] { paletteShiftBegan(); };
    view->onPaletteShiftChanged = [this](double amount) { paletteShiftChanged(amount); };
    view->onFrequencyShiftBegan = [this] { frequencyShiftBegan(); };
    view->onFrequencyShiftChanged = [this](double dx, double dy) { frequencyShiftChanged(dx, dy); };
    view->onLayoutSubviewsChanged = [this] { viewDidLayout(); };
    view->onContextMenuRequested = [this](const QPoint& at) { showContextMenu(at); };
    view->onImageUpdated = [this](const QImage& image) { keepPictureCopy(lastCGImage_, image); };
    juliaView_->onLayoutSubviewsChanged = [this] { juliaDidLayout(); };
    juliaView_->onContextMenuRequested = [this](const QPoint& at) { showJuliaContextMenu(at); };
    juliaView_->onImageUpdated = [this](const QImage& image) { keepPictureCopy(lastJuliaCGImage_, image); };
}

// Zooms, history steps and new palettes asked for on the picture, or by their keys, buttons
// and mouse equivalents, remove the tuning help card and end auto-explore first.
void MacViewController::handleZoomRequested(const RectF& pixels) {
    hideTuningHelp();
    stopAutoExplore();
    zoomIntoRect(pixels);
}

void MacViewController::handleZoomHistoryBack() {
    hideTuningHelp();
    stopAutoExplore();
    zoomBackAction();
}

void MacViewController::handleZoomHistoryForward() {
    hideTuningHelp();
    stopAutoExplore();
    zoomForwardAction();
}

void MacViewController::handleColorCycle() {
    hideTuningHelp();
    stopAutoExplore();
    newRandomPalette();
}

// A new size of the main picture reallocates its buffers and renders; the viewport stays.
void MacViewController::viewDidLayout() {
    const QSize points = fractalView_->size();
    if (points == lastKnownSize_ || points.width() <= 0 || points.height() <= 0) return;
    lastKnownSize_ = points;
    const QSize pixels = fractalView_->bufferSizeForWidget();
    fractalView_->resizeBuffers(pixels.width(), pixels.height());
    render();
}

void MacViewController::juliaDidLayout() {
    const QSize points = juliaView_->size();
    if (points == lastKnownJuliaSize_ || points.width() <= 0 || points.height() <= 0) return;
    lastKnownJuliaSize_ = points;
    const QSize pixels = juliaView_->bufferSizeForWidget();
    if (juliaView_->resizeBuffers(pixels.width(), pixels.height())) updateJulia();
}

void MacViewController::showContextMenu(const QPoint& globalPos) {
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("pictureContextMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Record Palette Animation…"), this, &MacViewController::recordPaletteAnimationAction)
        ->setEnabled(canRecord());
    menu->addAction(tr("Save Image…"), this, &MacViewController::saveImage)->setEnabled(!lastCGImage_.isNull());
    menu->addSeparator();
    menu->addAction(tr("Reset View"), this, &MacViewController::resetViewAction);
    menu->addAction(tr("Reset All"), this, &MacViewController::resetAllAction);
    menu->addSeparator();
    menu->addAction(tr("Copy Link"), this, &MacViewController::copyLinkToCurrentView);
    menu->popup(globalPos);
}

// Both alerts are window-modal and do not block: rows keep arriving while they are shown.
void MacViewController::installDefaultPresenters() {
    installExportPresenters();
    presentAlert = [this](const QString& message) {
        auto* box = new QMessageBox(QMessageBox::NoIcon, QString(), message, QMessageBox::NoButton, this);
        box->addButton(tr("OK"), QMessageBox::AcceptRole);
        box->setAttribute(Qt::WA_DeleteOnClose);
        returnKeyboardAfter(box);
        box->open();
    };
    presentConfirmation = [this](const QString& message, std::function<void()> onYes) {
        auto* box = new QMessageBox(QMessageBox::NoIcon, QString(), message, QMessageBox::NoButton, this);
        QPushButton* yes = box->addButton(tr("Yes"), QMessageBox::DestructiveRole);
        QPushButton* no = box->addButton(tr("No"), QMessageBox::RejectRole);
        QPalette warning = yes->palette();
        warning.setColor(QPalette::ButtonText, QColor(0xff, 0x6b, 0x5e));
        yes->setPalette(warning);
        box->setDefaultButton(no);
        box->setEscapeButton(no);
        connect(yes, &QPushButton::clicked, this, [onYes = std::move(onYes)] { onYes(); });
        box->setAttribute(Qt::WA_DeleteOnClose);
        returnKeyboardAfter(box);
        box->open();
    };
}

}  // namespace gs
