// The explorer window and its controller. It owns every piece of exploration state (viewport
// and history, palette, shading flags and tuning, relief light) and the two fractal views, and
// runs the render pipeline:
//   render()     snapshots a RenderRequest with a new generation; one background work item runs
//                a parallel loop over the rows and hands each finished row to the GUI thread;
//                rows of an older generation are dropped there; the partial picture is shown
//                every 30 rows; the last row completes the render (relief, status, Julia).
//   recolour     maps the stored per-pixel data to colours again without iterating; requests
//                made in one pass of the event loop, or during a render, are merged into one.
// Everything here runs on the GUI thread; the code is split by feature over the
// mac_view_controller_*.cpp files.
#pragma once

#include <QPointer>
#include <QSize>
#include <QThreadPool>
#include <QWidget>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "core/frame.h"
#include "core/render_rows.h"
#include "core/palette.h"
#include "explore/palette_motion.h"
#include "explore/selection.h"
#include "explore/zoom_history.h"

class QAction;
class QLabel;
class QTimer;

namespace gs {

class BracketActionControl;
class BracketToggleControl;
class HUDStatView;
class JuliaView;
class MandelbrotView;
class PictureFrame;
class ZoomHistoryControl;

class MacViewController : public QWidget {
    Q_OBJECT

public:
    // Texts of the two alerts, exactly as the user sees them.
    static const QString kZoomLimitMessage;
    static const QString kResetAllMessage;
    static constexpr int kRowsPerPartialDisplay = 30;

    explicit MacViewController(QWidget* parent = nullptr);
    ~MacViewController() override;

    MandelbrotView* mandelbrotView() const { return fractalView_; }
    JuliaView* juliaView() const { return juliaView_; }
    // 4:3 by default; 0 lets the picture fill the area beside the sidebar.
    void setPictureAspect(double aspect);

    // --- Commands ---
    void useSmoothColors();
    void useRandomColors();
    void newRandomPalette();
    void toggleDistanceEstimation();
    void toggleGlow();
    void toggleOrbitTraps();
    void toggle3DRelief();
    void toggleAnimateColors();
    void toggleAutoAction();
    void zoomIntoRect(const RectF& pixels);  // a box in picture pixels, as the view reports it
    void zoomBackAction();
    void zoomForwardAction();
    void resetViewAction();
    void resetAllAction();  // asks first; only "Yes" resets
    void resetAll();        // without asking
    void showHelp();
    // Sets the bounds directly, outside the history (bookmarks, share links), and renders.
    void setViewport(const Viewport& view);

    // --- Palette animation ---
    // One step of the animation timer: moves the palette by the time since the last tick.
    void animationTick();
    // The clock of the animation ticks, in seconds; tests replace it.
    std::function<double()> animationNow;
    bool animateColorsEnabled() const { return animateColorsEnabled_; }
    bool animationTimerRunning() const;
    double animationSpeed() const { return animationSpeed_; }
    void setAnimationSpeed(double cyclesPerSecond) { animationSpeed_ = cyclesPerSecond; }

    // --- Auto-explore ---
    bool autoEnabled() const { return autoEnabled_; }
    bool autoStepScheduled() const;
    // One auto-explore step: zooms towards a boundary point of the last picture (the timer's
    // action; public for tests).
    void autoStep();
    // Milliseconds from the end of a render to the next step; tests shorten it.
    std::function<int(bool chromeHidden)> autoStepIntervalMs;

    // --- Full screen ---
    // F11: the picture alone on the whole screen with a small overlay of controls, or back.
    void toggleFullScreen();
    void handleHideChromeTagTap();   // leaves full screen (Escape)
    void handleFullScreenSwapTap();  // in full screen, swaps the Julia view into the big place
    bool isChromeHidden() const { return chromeHidden_; }
    bool isShowingJuliaFullscreen() const { return juliaFullscreen_; }
    // The snapshot fading out over a new auto-explore picture in full screen, if any.
    QWidget* autoDissolveOverlay() const { return autoDissolveOverlay_; }

    // --- Render pipeline ---
    void render();
    void requestRecolor();
    void recolorAll();
    // A light-only change: relights from the cached elevation (or after the running render).
    void requestRelight();

    // --- State, read-only ---
    const ZoomHistory& history() const { return history_; }
    const Viewport& viewport() const { return history_.current(); }
    std::int64_t renderGeneration() const { return renderGeneration_; }
    bool isRendering() const { return isRendering_; }
    bool recolorPending() const { return recolorPending_; }
    // No render work is running on a worker (stale renders included).
    bool workersIdle() const;
    std::int64_t lastMaxIteration() const { return lastMaxIteration_; }
    double pixelSize() const { return pixelSize_; }
    PaletteMode paletteMode() const { return paletteMode_; }
    const std::shared_ptr<const ColorTable>& colorTable() const { return colorTable_; }
    double frequency() const { return frequency_; }
    double cycleOffset() const { return cycleOffset_; }
    bool demEnabled() const { return demEnabled_; }
    bool glowEnabled() const { return glowEnabled_; }
    bool trapsEnabled() const { return trapsEnabled_; }
    bool reliefEnabled() const { return reliefEnabled_; }
    const ShadingTuning& tuning() const { return tuning_; }
    double reliefLightRawX() const { return reliefLightRawX_; }
    double reliefLightRawY() const { return reliefLightRawY_; }
    const ReliefLight& reliefLight() const { return reliefLight_; }
    const std::optional<QString>& currentPaletteName() const { return currentPaletteName_; }
    const std::optional<QString>& currentBookmarkName() const { return currentBookmarkName_; }
    // The values of the status display: zoom, max iter, centre, computing time.
    QStringList statusTexts() const;
    // The full-screen line: what is on screen (the bookmark's name) and its zoom.
    QString fullScreenStatusLine() const;

    // How alerts are shown; tests replace them so that nothing waits for a click.
    std::function<void(const QString& message)> presentAlert;
    std::function<void(const QString& message, std::function<void()> onYes)> presentConfirmation;

private:
    struct FinishedRow;
    // The render whose rows are being delivered.
    struct ActiveRender {
        std::shared_ptr<const RenderRequest> request;
        std::chrono::steady_clock::time_point start;
        int rowsDone = 0;
        int rowsSinceDisplay = 0;
    };

    // Interface (mac_view_controller_layout.cpp).
    void buildInterface();
    QWidget* buildSidebar();
    QWidget* buildStatusBar();
    void buildShortcuts();
    QAction* addShortcut(const QString& title, const QKeySequence& keys, void (MacViewController::*command)());
    void connectControls();
    void refreshControls();
    void refreshHistoryControls();

    // View callbacks and layout (mac_view_controller.cpp).
    void connectViewCallbacks();
    void viewDidLayout();
    void juliaDidLayout();
    void showContextMenu(const QPoint& globalPos);
    void installDefaultPresenters();

    // Render pipeline (mac_view_controller_render.cpp).
    ColourInputs colourInputs(const ShadingTuning& tuning) const;
    void startRenderWork(const std::shared_ptr<const RenderRequest>& request);
    void deliverRow(std::int64_t generation, const FinishedRow& row);
    void finishRender();
    void updateStatus(double seconds);
    void updateJulia();
    RenderRequest juliaColours() const;
    void traceCompletedPicture() const;
    bool keptInputsReady();  // starts making their memory ready when it is not

    // Palette (mac_view_controller_palette.cpp).
    void regenerate();
    void paletteShiftBegan();
    void paletteShiftChanged(double amount);
    void frequencyShiftBegan();
    void frequencyShiftChanged(double dx, double dy);

    // Palette animation (mac_view_controller_animation.cpp).
    void startAnimationTimer();
    void stopAnimationTimer();

    // Auto-explore (mac_view_controller_auto.cpp).
    void scheduleAutoStep();
    void stopAutoExplore();  // a gesture or Reset All ends the flight

    // Full screen (mac_view_controller_fullscreen.cpp).
    QWidget* buildFullScreenChrome();
    void twin(BracketToggleControl* windowed, void (MacViewController::*command)());
    void placeFullScreenChrome();
    void enterFullScreen();
    void exitFullScreen();
    void swapJuliaIntoPicture();
    void swapJuliaBack();
    void prepareDissolve();
    void fadeOutDissolve();
    void removeDissolve();

    // History (mac_view_controller_history.cpp).
    void applyHistoryMove(const HistoryMove& move);

    // --- Exploration state ---
    ZoomHistory history_;
    std::optional<QString> currentBookmarkName_;
    std::optional<QString> currentPaletteName_;
    std::unique_ptr<RandomSource> rng_;
    PaletteMode paletteMode_ = PaletteMode::smooth;
    std::shared_ptr<const ColorTable> colorTable_ = std::make_shared<const ColorTable>();
    double frequency_ = 2.0;
    double cycleOffset_ = 0.0;
    bool demEnabled_ = false, glowEnabled_ = false, trapsEnabled_ = false, reliefEnabled_ = false;
    ShadingTuning tuning_;
    double reliefLightRawX_ = -0.5, reliefLightRawY_ = -0.5;
    ReliefLight reliefLight_;
    // Values at the start of a palette or frequency pan.
    double paletteShiftBaseCycleOffset_ = 0.0;
    double frequencyShiftBaseFrequency_ = 2.0;
    double reliefLightShiftBaseX_ = -0.5, reliefLightShiftBaseY_ = -0.5;

    // --- Palette animation, auto-explore and full screen ---
    bool animateColorsEnabled_ = false;
    double animationSpeed_ = kDefaultAnimationSpeed;
    QTimer* animationTimer_ = nullptr;
    AnimationClock animationClock_;
    bool autoEnabled_ = false;
    QTimer* autoTimer_ = nullptr;
    bool chromeHidden_ = false;
    bool juliaFullscreen_ = false;
    double windowedAspect_ = 0.0;
    QRect windowedGeometry_;
    bool coveringScreenItself_ = false;  // full screen without a window manager's help
    QPointer<QWidget> autoDissolveOverlay_;

    // --- Render state ---
    std::int64_t renderGeneration_ = 0;
    bool isRendering_ = false;
    bool recolorPending_ = false;
    bool recolorAfterRender_ = false;
    bool keptAllocationPending_ = false;
    QSize lastKnownSize_, lastKnownJuliaSize_;
    std::int64_t lastMaxIteration_ = 0;
    double pixelSize_ = 0.0;
    ActiveRender active_;
    bool trace_ = false;  // GLIMMERSCAPE_TRACE=1: one line on stdout per completed picture
    QThreadPool renderPool_;
    std::shared_ptr<std::atomic<bool>> stopWorkers_ = std::make_shared<std::atomic<bool>>(false);
    RenderGenerations renderGenerations_;  // lets a superseded render's workers stop

    // --- Interface ---
    MandelbrotView* fractalView_ = nullptr;
    JuliaView* juliaView_ = nullptr;
    PictureFrame* pictureFrame_ = nullptr;
    BracketToggleControl* smoothToggle_ = nullptr;
    BracketToggleControl* randomToggle_ = nullptr;
    BracketToggleControl* demToggle_ = nullptr;
    BracketToggleControl* glowToggle_ = nullptr;
    BracketToggleControl* trapsToggle_ = nullptr;
    BracketToggleControl* reliefToggle_ = nullptr;
    BracketToggleControl* animateToggle_ = nullptr;
    BracketToggleControl* autoToggle_ = nullptr;
    BracketActionControl* newPaletteControl_ = nullptr;
    BracketActionControl* resetViewControl_ = nullptr;
    BracketActionControl* resetAllControl_ = nullptr;
    BracketActionControl* helpControl_ = nullptr;
    ZoomHistoryControl* zoomBackControl_ = nullptr;
    ZoomHistoryControl* zoomForwardControl_ = nullptr;
    QWidget* sidebar_ = nullptr;
    QWidget* statusBar_ = nullptr;
    QWidget* fullScreenChrome_ = nullptr;
    QLabel* fullScreenStatus_ = nullptr;
    std::vector<HUDStatView*> fullScreenStats_;  // the status display's full-screen set
    QAction* exitFullScreenAction_ = nullptr;
    // Each windowed toggle with its full-screen copy, which always shows the same state.
    std::vector<std::pair<BracketToggleControl*, BracketToggleControl*>> toggleTwins_;
    HUDStatView* hudZoomStat_ = nullptr;
    HUDStatView* hudIterStat_ = nullptr;
    HUDStatView* hudCenterStat_ = nullptr;
    HUDStatView* hudRenderStat_ = nullptr;
};

}  // namespace gs
