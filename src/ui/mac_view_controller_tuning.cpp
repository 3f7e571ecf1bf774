// Advanced mode: the tuning panel bound to the controller's values, the mode tag with its amber
// dot, the help card's closing command and the numeric entry. Every slider change is applied at
// once (recoloured or relit, coalesced per pass of the event loop) and saved.
#include <QMetaObject>
#include <QPointer>
#include <QTimer>
#include <cmath>
#include <cstdio>

#include "ui/advanced_mode_tag.h"
#include "ui/bracket_slider_control.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/tuning_entry_dialog.h"
#include "ui/tuning_help_card.h"
#include "ui/tuning_panel_view.h"

namespace gs {

namespace {

constexpr int kTraceDelayMs = 100;  // long enough for the layout to settle

bool effectOn(TuningMode mode, const ExplorerSettings& s, bool soundEnabled) {
    switch (mode) {
    case TuningMode::always: return true;
    case TuningMode::distanceEstimation: return s.demEnabled;
    case TuningMode::glow: return s.glowEnabled;
    case TuningMode::traps: return s.trapsEnabled;
    case TuningMode::relief: return s.reliefEnabled;
    case TuningMode::sound: return soundEnabled;
    }
    return false;
}

QString globalBox(const QWidget* w, QRect r) {
    r.translate(w->mapToGlobal(QPoint(0, 0)));
    return QStringLiteral("%1,%2,%3,%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

const char* layoutName(TuningPanelView::Layout layout) {
    switch (layout) {
    case TuningPanelView::Layout::standard: return "standard";
    case TuningPanelView::Layout::wide: return "wide";
    case TuningPanelView::Layout::overlay: return "overlay";
    }
    return "";
}

}  // namespace

std::vector<TuningTab> MacViewController::buildTuningTabs() {
    std::vector<TuningTab> tabs = tuningTable();
    const QPointer<MacViewController> weak(this);
    for (TuningTab& tab : tabs) {
        for (TuningSliderSpec& info : tab.sliders) {
            info.get = [weak, target = info.target, neutral = info.defaultValue] {
                return weak ? readTuningTarget(weak->settings_, target) : neutral;
            };
            info.set = [weak, target = info.target](double value) {
                if (weak) weak->setTuningValue(target, value);
            };
            // The speed only means something while the palette animates.
            const bool isSpeed = info.target.kind == TuningTarget::Kind::animationSpeed;
            info.isEnabled = [weak, isSpeed] { return !isSpeed || (weak && weak->animateColorsEnabled_); };
        }
        tab.isModeOn = [weak, mode = tab.mode] { return weak && effectOn(mode, weak->settings_, weak->soundEnabled_); };
    }
    return tabs;
}

TuningPanelView* MacViewController::buildTuningPanel() {
    auto* panel = new TuningPanelView(buildTuningTabs(), this);
    panel->onRequestNumericEntry = [this](const TuningSliderSpec& info) { showNumericEntry(info); };
    panel->onHelpChanged = [this] { traceTuningSoon(); };
    panel->hide();
    addEscapeCommand(tr("Close Help"), EscapeLayer::helpCard, [this] { return tuningPanel_ && tuningPanel_->helpCard(); },
                     [this] { hideTuningHelp(); });
    return panel;
}

// A shading value goes to both views (the Julia view colours with its own curve); speed and
// sound values are read on the next tick.
void MacViewController::setTuningValue(const TuningTarget& target, double value) {
    if (!std::isfinite(value)) return;
    const TuningRepaint repaint = writeTuningTarget(settings_, target, value);
    if (target.kind == TuningTarget::Kind::shading) {
        fractalView_->tuning = settings_.tuning;
        juliaView_->tuning = settings_.tuning;
    }
    if (repaint == TuningRepaint::recolour) requestRecolor();
    if (repaint == TuningRepaint::relight) scheduleTuningRelight();
    refreshTuningControls();
    savePreferences();
    traceTuningSoon();
}

// Like the recolour, one relight per pass of the event loop however many values arrived; a
// recolour still to come relights anyway.
void MacViewController::scheduleTuningRelight() {
    if (tuningRelightPending_) return;
    tuningRelightPending_ = true;
    QMetaObject::invokeMethod(this, [this] {
        tuningRelightPending_ = false;
        if (!recolorPending_) requestRelight();
    }, Qt::QueuedConnection);
}

void MacViewController::handleModeTagTap() {
    isAdvancedMode_ = !isAdvancedMode_;
    layoutForMode();
    savePreferences();
}

// The panel shows in advanced mode, except in full screen, where the picture has the screen.
void MacViewController::layoutForMode() {
    modeTag_->setAdvanced(isAdvancedMode_);
    tuningPanel_->setVisible(isAdvancedMode_ && !chromeHidden_);  // hiding it removes the help card
    refreshTuningControls();
    traceTuningSoon();
}

void MacViewController::hideTuningHelp() {
    if (tuningPanel_) tuningPanel_->hideHelp();
}

void MacViewController::refreshAdvancedModeIndicator() {
    modeTag_->setDotShown(!isAdvancedMode_ && tuningOffDefaults(settings_));
}

void MacViewController::refreshTuningControls() {
    if (isAdvancedMode_) tuningPanel_->refreshValues();
    refreshAdvancedModeIndicator();
}

void MacViewController::showNumericEntry(const TuningSliderSpec& info) {
    auto* dialog = new TuningEntryDialog(info, info.get ? info.get() : info.defaultValue, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->onSet = [set = info.set](double value) {
        if (set) set(value);
    };
    returnKeyboardAfter(dialog);
    dialog->open();
}

// --- Trace (GLIMMERSCAPE_TRACE=1) -----------------------------------------------------------

void MacViewController::traceTuningSoon() {
    if (!trace_ || tuningTracePending_) return;
    tuningTracePending_ = true;
    QTimer::singleShot(kTraceDelayMs, this, [this] {
        tuningTracePending_ = false;
        traceTuning();
    });
}

// The end-to-end test reads these lines: the mode, where the tag and its dot are, the open help
// card, and each slider on screen with its place and shown value.
void MacViewController::traceTuning() const {
    if (!trace_) return;
    const TuningHelpCard* card = tuningPanel_->helpCard();
    std::printf("tuning mode=%s layout=%s tag=%s dot=%s help=%s\n", isAdvancedMode_ ? "advanced" : "standard",
                layoutName(tuningPanel_->currentLayout()), qPrintable(globalBox(modeTag_, modeTag_->rect())),
                modeTag_->isDotShown() ? qPrintable(globalBox(modeTag_, modeTag_->dotRect())) : "hidden",
                card ? qPrintable(QString(card->title()).replace(QLatin1Char(' '), QLatin1Char('_'))) : "none");
    if (tuningPanel_->isVisible()) {
        for (const BracketSliderControl* s : tuningPanel_->sliders()) {
            std::printf("tuning slider=%s at=%s value=%s\n",
                        qPrintable(QString::fromStdString(s->info().title).replace(QLatin1Char(' '), QLatin1Char('_'))),
                        qPrintable(globalBox(s, s->rect())), s->info().format(s->current()).c_str());
        }
    }
    std::fflush(stdout);
}

}  // namespace gs
