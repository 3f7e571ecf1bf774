// Full screen: the picture, at its own proportions on black, fills the screen's width or height
// under a small overlay with copies of the toggles, the status line and a swap tag that shows
// the Julia view in the big place; auto-explore pictures cross-fade there.
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

#include "explore/auto_explore.h"
#include "ui/bracket_controls.h"
#include "ui/dissolve_overlay.h"
#include "ui/hud_stat_view.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/picture_frame.h"
#include "ui/sidebar.h"

namespace gs {

namespace {
constexpr int kChromeMargin = 12;
constexpr double kJuliaAspect = 1.0;  // the Julia picture spans -1.6..1.6 both ways
constexpr int kWindowManagerGraceMs = 400;  // time a window manager gets to go full screen
}  // namespace

QWidget* MacViewController::buildFullScreenChrome() {
    auto* chrome = new QWidget(this);
    chrome->setObjectName(QStringLiteral("fullScreenChrome"));
    chrome->setAutoFillBackground(true);
    QPalette p = chrome->palette();
    p.setColor(QPalette::Window, QColor(0, 0, 0, 170));
    chrome->setPalette(p);
    auto* column = new QVBoxLayout(chrome);
    column->setContentsMargins(10, 8, 10, 8);
    column->setSpacing(2);
    auto* toggles = new QHBoxLayout;
    column->addLayout(toggles);
    twin(smoothToggle_, &MacViewController::useSmoothColors);
    twin(randomToggle_, &MacViewController::useRandomColors);
    twin(animateToggle_, &MacViewController::toggleAnimateColors);
    twin(demToggle_, &MacViewController::toggleDistanceEstimation);
    twin(glowToggle_, &MacViewController::toggleGlow);
    twin(trapsToggle_, &MacViewController::toggleOrbitTraps);
    twin(reliefToggle_, &MacViewController::toggle3DRelief);
    twin(autoToggle_, &MacViewController::toggleAutoAction);
    fullScreenSoundToggle_ = twin(soundToggle_, &MacViewController::toggleSoundAction);
    for (const auto& pair : toggleTwins_) {
        pair.second->setParent(chrome);
        toggles->addWidget(pair.second);
    }
    auto* swap = new BracketActionControl(tr("Julia"), chrome);
    swap->setObjectName(QStringLiteral("fullScreenSwapTag"));
    swap->setToolTip(tr("Show the Julia set in the big place, or the Mandelbrot set again"));
    connect(swap, &QAbstractButton::clicked, this, &MacViewController::handleFullScreenSwapTap);
    auto* exit = new BracketActionControl(tr("Exit Full Screen"), chrome);
    connect(exit, &QAbstractButton::clicked, this, &MacViewController::handleHideChromeTagTap);
    toggles->addWidget(swap);
    toggles->addWidget(exit);
    // The status display's second set, then the line that names what is on screen.
    auto* stats = new QHBoxLayout;
    stats->setSpacing(20);
    for (HUDStatView* windowed : {hudZoomStat_, hudIterStat_, hudCenterStat_, hudRenderStat_}) {
        auto* copy = new HUDStatView(windowed->caption(), windowed->value(), chrome);
        copy->setObjectName(QStringLiteral("fullScreen ") + windowed->caption());
        stats->addWidget(copy);
        fullScreenStats_.push_back(copy);
    }
    stats->addStretch(1);
    column->addLayout(stats);
    fullScreenStatus_ = new QLabel(fullScreenStatusLine(), chrome);
    fullScreenStatus_->setObjectName(QStringLiteral("fullScreenStatus"));
    p = fullScreenStatus_->palette();
    p.setColor(QPalette::WindowText, Qt::white);
    fullScreenStatus_->setPalette(p);
    column->addWidget(fullScreenStatus_);
    chrome->hide();
    return chrome;
}

QString MacViewController::fullScreenStatusLine() const {
    const QString name = currentBookmarkName_.value_or(QString());
    return QStringLiteral("CURRENTLY VIEWING: %1  (%2)")
        .arg(name.isEmpty() ? tr("Unsaved Location") : name,
             QString::fromStdString(zoomText(zoomLevel(history_.current()))));
}

// The copy carries the windowed toggle's label and command; refreshControls keeps its state.
BracketToggleControl* MacViewController::twin(BracketToggleControl* windowed,
                                              void (MacViewController::*command)()) {
    auto* copy = new BracketToggleControl(windowed->text());
    copy->setObjectName(QStringLiteral("fullScreen ") + windowed->text());
    connect(copy, &QAbstractButton::clicked, this, command);
    toggleTwins_.emplace_back(windowed, copy);
    return copy;
}

void MacViewController::placeFullScreenChrome() {
    fullScreenChrome_->adjustSize();
    fullScreenChrome_->move(kChromeMargin, kChromeMargin);
    fullScreenChrome_->raise();
}

void MacViewController::toggleFullScreen() {
    if (chromeHidden_)
        exitFullScreen();
    else
        enterFullScreen();
}

void MacViewController::handleHideChromeTagTap() {
    if (chromeHidden_) exitFullScreen();
}

void MacViewController::enterFullScreen() {
    chromeHidden_ = true;
    sidebar_->hide();
    statusBar_->hide();
    layoutForMode();
    refreshControls();
    fullScreenChrome_->show();
    placeFullScreenChrome();
    windowedGeometry_ = geometry();
    windowedPlace_ = saveGeometry();
    showFullScreen();
    // Without a window manager (a bare X server, a kiosk session) nobody acts on the request;
    // the window then covers the screen itself, and gives the room back on the way out.
    QTimer::singleShot(kWindowManagerGraceMs, this, [this] {
        if (!chromeHidden_ || !isWindow() || !screen()) return;
        const QRect whole = screen()->geometry();
        if (geometry() == whole) return;
        coveringScreenItself_ = true;
        setGeometry(whole);
    });
}

void MacViewController::exitFullScreen() {
    chromeHidden_ = false;  // first, so a resumed flight waits the windowed interval
    if (juliaFullscreen_) swapJuliaBack();
    removeDissolve();
    fullScreenChrome_->hide();
    sidebar_->show();
    statusBar_->show();
    layoutForMode();
    showNormal();
    if (coveringScreenItself_) setGeometry(windowedGeometry_);
    coveringScreenItself_ = false;
}

// The flight pauses while the Julia view is in the big place and resumes when it leaves.
void MacViewController::handleFullScreenSwapTap() {
    if (!chromeHidden_) return;
    if (juliaFullscreen_)
        swapJuliaBack();
    else
        swapJuliaIntoPicture();
}

void MacViewController::swapJuliaIntoPicture() {
    juliaFullscreen_ = true;
    if (autoTimer_) autoTimer_->stop();
    removeDissolve();
    juliaView_->setMinimumSize(1, 1);
    juliaView_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    fractalView_->hide();
    pictureFrame_->setPicture(juliaView_, kJuliaAspect);
    placeFullScreenChrome();
}

void MacViewController::swapJuliaBack() {
    juliaFullscreen_ = false;
    sidebar_->setThumbnail(juliaView_);
    pictureFrame_->setPicture(fractalView_, pictureAspect_);
    placeFullScreenChrome();
    if (autoEnabled_) scheduleAutoStep();
}

// --- Dissolve between auto-explore pictures -------------------------------------------------

// In full screen the picture about to be replaced stays on top until the next one is complete.
void MacViewController::prepareDissolve() {
    removeDissolve();
    if (!chromeHidden_) return;
    const QImage picture = fractalView_->makeImage();
    if (picture.isNull()) return;
    auto* overlay = new DissolveOverlay(picture, fractalView_);
    overlay->setGraphicsEffect(new QGraphicsOpacityEffect(overlay));
    overlay->show();
    autoDissolveOverlay_ = overlay;
}

void MacViewController::fadeOutDissolve() {
    QWidget* overlay = autoDissolveOverlay_;
    if (!overlay || overlay->findChild<QPropertyAnimation*>()) return;
    auto* fade = new QPropertyAnimation(overlay->graphicsEffect(), "opacity", overlay);
    fade->setDuration(static_cast<int>(kAutoDissolveSeconds * 1000.0));
    fade->setStartValue(1.0);
    fade->setEndValue(0.0);
    connect(fade, &QPropertyAnimation::finished, overlay, [this, overlay] {
        if (autoDissolveOverlay_ == overlay) autoDissolveOverlay_.clear();
        overlay->deleteLater();
    });
    fade->start();
}

void MacViewController::removeDissolve() {
    if (!autoDissolveOverlay_) return;
    QWidget* overlay = autoDissolveOverlay_;
    autoDissolveOverlay_.clear();
    if (auto* fade = overlay->findChild<QPropertyAnimation*>()) fade->stop();
    delete overlay;
}

}  // namespace gs
