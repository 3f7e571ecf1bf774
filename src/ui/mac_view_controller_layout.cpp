// The window: the picture first (in advanced mode over the tuning panel) with a sidebar beside
// it (the Julia view and the controls), under both a bar with the history controls, the status
// display, the export controls and help; keyboard commands.
#include <algorithm>
#include <initializer_list>

#include <QAction>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

#include "ui/advanced_mode_tag.h"
#include "ui/bracket_controls.h"
#include "ui/hud_stat_view.h"
#include "ui/julia_view.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"
#include "ui/picture_frame.h"
#include "ui/sidebar.h"
#include "ui/tuning_panel_view.h"
#include "ui/window_style.h"
#include "ui/wrapping_bar_layout.h"

namespace gs {

namespace {

constexpr int kSidebarWidth = 232;
const QSize kMinimumWindow(860, 560);
const QSize kPreferredWindow(1240, 840);

QLabel* sectionTitle(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text.toUpper(), parent);
    QFont f = label->font();
    f.setPointSizeF(f.pointSizeF() * 0.78);
    f.setLetterSpacing(QFont::PercentageSpacing, 115);
    label->setFont(f);
    QPalette p = label->palette();
    p.setColor(QPalette::WindowText, style::kCaption);
    label->setPalette(p);
    label->setContentsMargins(4, 8, 0, 2);
    return label;
}

// A section title with a small control at the right end of its line.
QHBoxLayout* titleWith(QLabel* title, QWidget* control) {
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(title, 1, Qt::AlignBottom);
    row->addWidget(control, 0, Qt::AlignBottom);
    return row;
}

// Controls on one line of the sidebar.
QWidget* sideBySide(std::initializer_list<QWidget*> controls, QWidget* parent) {
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QWidget* control : controls) layout->addWidget(control);
    return row;
}

void fill(QWidget* widget, const QColor& colour) {
    widget->setAutoFillBackground(true);
    QPalette p = widget->palette();
    p.setColor(QPalette::Window, colour);
    widget->setPalette(p);
}

}  // namespace

void MacViewController::buildInterface() {
    setWindowTitle(QStringLiteral("Glimmerscape"));
    setMinimumSize(kMinimumWindow);
    fill(this, style::kWindow);

    fractalView_ = new MandelbrotView;
    pictureFrame_ = new PictureFrame(fractalView_, pictureAspect_, this);
    // The tuning panel, in advanced mode, is a band under the picture.
    auto* pictureColumn = new QVBoxLayout;
    pictureColumn->setSpacing(0);
    pictureColumn->addWidget(pictureFrame_, 1);
    pictureColumn->addWidget(tuningPanel_ = buildTuningPanel());
    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->setSpacing(0);
    top->addLayout(pictureColumn, 1);
    top->addWidget(sidebar_ = buildSidebar());

    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    root->addLayout(top, 1);
    root->addWidget(statusBar_ = buildStatusBar());
    fullScreenChrome_ = buildFullScreenChrome();

    connectControls();
    buildShortcuts();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        resize(kPreferredWindow.boundedTo(screen->availableSize()).expandedTo(kMinimumWindow));
    fractalView_->setFocus();
}

void MacViewController::setPictureAspect(double aspect) {
    pictureAspect_ = aspect;
    if (!juliaFullscreen_) pictureFrame_->setAspect(aspect);
}

Sidebar* MacViewController::buildSidebar() {
    auto* sidebar = new Sidebar(this);
    sidebar->setObjectName(QStringLiteral("sidebar"));
    sidebar->setFixedWidth(kSidebarWidth);
    fill(sidebar, style::kPanel);
    QVBoxLayout* column = sidebar->column();
    column->setContentsMargins(18, 16, 14, 8);
    column->setSpacing(0);

    auto add = [&](QWidget* control) { column->addWidget(control, 0, Qt::AlignLeft); };
    column->addLayout(titleWith(sectionTitle(tr("Palette"), sidebar), modeTag_ = new AdvancedModeTag(sidebar)));
    // Pairs side by side where they fit: the column is short on small screens.
    smoothToggle_ = new BracketToggleControl(tr("Smooth"), sidebar);
    randomToggle_ = new BracketToggleControl(tr("Random"), sidebar);
    add(sideBySide({smoothToggle_, randomToggle_}, sidebar));
    newPaletteControl_ = new BracketActionControl(tr("New Palette"), sidebar);
    palettesControl_ = new BracketActionControl(tr("Palettes…"), sidebar);
    add(sideBySide({newPaletteControl_, palettesControl_}, sidebar));
    column->addWidget(sectionTitle(tr("Motion"), sidebar));
    animateToggle_ = new BracketToggleControl(tr("Animate"), sidebar);
    autoToggle_ = new BracketToggleControl(tr("Auto"), sidebar);
    add(sideBySide({animateToggle_, autoToggle_}, sidebar));
    add(buildSoundRow(sidebar));
    column->addWidget(sectionTitle(tr("Shading"), sidebar));
    add(demToggle_ = new BracketToggleControl(tr("Distance Estimation"), sidebar));
    add(glowToggle_ = new BracketToggleControl(tr("Glow"), sidebar));
    add(trapsToggle_ = new BracketToggleControl(tr("Traps"), sidebar));
    add(reliefToggle_ = new BracketToggleControl(tr("Relief"), sidebar));
    column->addWidget(sectionTitle(tr("View"), sidebar));
    column->addLayout(buildBookmarkStatus(sidebar));
    auto* resets = new QHBoxLayout;  // side by side: the sidebar's height is scarce
    resets->setSpacing(0);
    resets->addWidget(resetViewControl_ = new BracketActionControl(tr("Reset View"), sidebar));
    resets->addWidget(resetAllControl_ = new BracketActionControl(tr("Reset All"), sidebar));
    resets->addStretch(1);
    column->addLayout(resets);
    column->addStretch(1);
    sidebar->setThumbnail(juliaView_ = new JuliaView(sidebar));
    return sidebar;
}

// The history controls and the status display lead; the export controls and Help trail, on
// a second line when the window is too narrow for one.
QWidget* MacViewController::buildStatusBar() {
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("statusBar"));
    fill(bar, style::kWindow);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    zoomBackControl_ = new ZoomHistoryControl(tr("Zoom backward"), ZoomHistoryControl::Direction::backward, bar);
    zoomForwardControl_ = new ZoomHistoryControl(tr("Zoom forward"), ZoomHistoryControl::Direction::forward, bar);
    row->addWidget(zoomBackControl_);
    row->addWidget(zoomForwardControl_);
    row->addStretch(1);
    const QString none = QStringLiteral("—");
    hudZoomStat_ = new HUDStatView(tr("Zoom Level"), none, bar);
    hudIterStat_ = new HUDStatView(tr("Max Iter"), none, bar);
    hudCenterStat_ = new HUDStatView(tr("Center"), none, bar);
    hudRenderStat_ = new HUDStatView(tr("Computing Time"), none, bar);
    const QFontMetrics fm(hudCenterStat_->font());
    hudZoomStat_->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("0.0×10¹⁵×")) + 24);
    hudIterStat_->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("Max Iter")) + 24);
    hudCenterStat_->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("-0.0000+0.0000i")) + 40);
    hudRenderStat_->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("Computing Time")) + 8);
    for (HUDStatView* stat : {hudZoomStat_, hudIterStat_, hudCenterStat_, hudRenderStat_}) {
        row->addSpacing(16);
        row->addWidget(stat);
    }
    auto* actions = new QHBoxLayout;
    actions->setContentsMargins(0, 0, 0, 0);
    actions->setSpacing(4);
    saveImageControl_ = new BracketActionControl(tr("Save Image…"), bar);
    saveImageControl_->setToolTip(tr("Save the picture as a PNG file (Ctrl+S)"));
    recordAnimationControl_ = new BracketActionControl(tr("Record Animation…"), bar);
    recordAnimationControl_->setToolTip(tr("Record one palette cycle as a looping movie"));
    helpControl_ = new BracketActionControl(tr("Help"), bar);
    helpControl_->setToolTip(tr("Mouse, keyboard and touchpad (F1)"));
    actions->addWidget(saveImageControl_);
    actions->addWidget(recordAnimationControl_);
    actions->addSpacing(12);
    actions->addWidget(helpControl_);
    auto* lines = new WrappingBarLayout(row, actions, 32, bar);
    lines->setContentsMargins(12, 7, 20, 7);
    lines->setSpacing(0);
    return bar;
}

void MacViewController::connectControls() {
    auto on = [this](QAbstractButton* control, void (MacViewController::*command)()) {
        connect(control, &QAbstractButton::clicked, this, command);
    };
    on(smoothToggle_, &MacViewController::useSmoothColors);
    on(randomToggle_, &MacViewController::useRandomColors);
    on(newPaletteControl_, &MacViewController::newRandomPalette);
    on(demToggle_, &MacViewController::toggleDistanceEstimation);
    on(glowToggle_, &MacViewController::toggleGlow);
    on(trapsToggle_, &MacViewController::toggleOrbitTraps);
    on(reliefToggle_, &MacViewController::toggle3DRelief);
    on(animateToggle_, &MacViewController::toggleAnimateColors);
    on(autoToggle_, &MacViewController::toggleAutoAction);
    on(soundToggle_, &MacViewController::toggleSoundAction);
    on(resetViewControl_, &MacViewController::resetViewAction);
    on(resetAllControl_, &MacViewController::resetAllAction);
    on(saveImageControl_, &MacViewController::saveImage);
    on(recordAnimationControl_, &MacViewController::recordPaletteAnimationAction);
    on(helpControl_, &MacViewController::showHelp);
    on(modeTag_, &MacViewController::handleModeTagTap);
    on(zoomBackControl_, &MacViewController::handleZoomHistoryBack);
    on(zoomForwardControl_, &MacViewController::handleZoomHistoryForward);
}

QAction* MacViewController::addShortcut(const QString& title, const QKeySequence& keys,
                                        void (MacViewController::*command)()) {
    auto* action = new QAction(title, this);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WindowShortcut);
    connect(action, &QAction::triggered, this, command);
    addAction(action);
    return action;
}

void MacViewController::buildShortcuts() {
    addShortcut(tr("Save Image…"), QKeySequence(Qt::CTRL | Qt::Key_S), &MacViewController::saveImage);
    addShortcut(tr("New Random Palette"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R),
                &MacViewController::handleColorCycle);
    addShortcut(tr("Reset View"), QKeySequence(Qt::CTRL | Qt::Key_0), &MacViewController::resetViewAction);
    addShortcut(tr("Distance Estimation"), QKeySequence(Qt::CTRL | Qt::Key_D),
                &MacViewController::toggleDistanceEstimation);
    addShortcut(tr("Glow"), QKeySequence(Qt::CTRL | Qt::Key_G), &MacViewController::toggleGlow);
    addShortcut(tr("Orbit Traps"), QKeySequence(Qt::CTRL | Qt::Key_T), &MacViewController::toggleOrbitTraps);
    addShortcut(tr("3D Relief"), QKeySequence(Qt::CTRL | Qt::Key_E), &MacViewController::toggle3DRelief);
    addShortcut(tr("Animate Colors"), QKeySequence(Qt::CTRL | Qt::Key_Y), &MacViewController::toggleAnimateColors);
    addShortcut(tr("Sound Reactive"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_M),
                &MacViewController::toggleSoundAction);
    addShortcut(tr("Auto Explore"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A),
                &MacViewController::toggleAutoAction);
    addShortcut(tr("Zoom Backward"), QKeySequence(Qt::CTRL | Qt::Key_Left), &MacViewController::handleZoomHistoryBack)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Left), QKeySequence(Qt::ALT | Qt::Key_Left)});
    addShortcut(tr("Zoom Forward"), QKeySequence(Qt::CTRL | Qt::Key_Right), &MacViewController::handleZoomHistoryForward)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Right), QKeySequence(Qt::ALT | Qt::Key_Right)});
    addShortcut(tr("Help"), QKeySequence(Qt::Key_F1), &MacViewController::showHelp);
    addShortcut(tr("Full Screen"), QKeySequence(Qt::Key_F11), &MacViewController::toggleFullScreen);
    // Closing remembers where the window was; the program ends with its last window.
    auto* quit = new QAction(tr("Quit"), this);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::WindowShortcut);
    connect(quit, &QAction::triggered, this, &QWidget::close);
    addAction(quit);
    addEscapeCommand(tr("Exit Full Screen"), EscapeLayer::fullScreen, [this] { return chromeHidden_; },
                     [this] { handleHideChromeTagTap(); });
    // One Escape key for every closing command; what is topmost closes first.
    auto* escape = new QAction(tr("Close"), this);
    escape->setShortcut(QKeySequence(Qt::Key_Escape));
    escape->setShortcutContext(Qt::WindowShortcut);
    connect(escape, &QAction::triggered, this, [this] { handleEscape(); });
    addAction(escape);
}

void MacViewController::addEscapeCommand(const QString& title, EscapeLayer layer,
                                         std::function<bool()> isOpen, std::function<void()> close) {
    const auto at = std::upper_bound(escapeCommands_.begin(), escapeCommands_.end(), layer,
                                     [](EscapeLayer l, const EscapeCommand& c) { return l < c.layer; });
    escapeCommands_.insert(at, {title, layer, std::move(isOpen), std::move(close)});
}

QStringList MacViewController::offeredEscapeCommands() const {
    QStringList titles;
    for (const EscapeCommand& c : escapeCommands_)
        if (c.isOpen()) titles << c.title;
    return titles;
}

bool MacViewController::handleEscape() {
    for (const EscapeCommand& c : escapeCommands_) {
        if (!c.isOpen()) continue;
        c.close();
        return true;
    }
    return false;
}

void MacViewController::refreshControls() {
    smoothToggle_->setChecked(paletteMode_ == PaletteMode::smooth);
    randomToggle_->setChecked(paletteMode_ == PaletteMode::random);
    demToggle_->setChecked(settings_.demEnabled);
    glowToggle_->setChecked(settings_.glowEnabled);
    trapsToggle_->setChecked(settings_.trapsEnabled);
    reliefToggle_->setChecked(settings_.reliefEnabled);
    animateToggle_->setChecked(animateColorsEnabled_);
    autoToggle_->setChecked(autoEnabled_);
    soundToggle_->setChecked(soundEnabled_);
    for (const auto& [windowed, copy] : toggleTwins_) copy->setChecked(windowed->isChecked());
    refreshSoundControls();
    refreshHistoryControls();
    refreshTuningControls();
    refreshBookmarkLabels();
}

void MacViewController::refreshHistoryControls() {
    zoomBackControl_->setAvailable(!history_.backStack().empty());
    zoomForwardControl_->setAvailable(!history_.forwardStack().empty());
}

}  // namespace gs
