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

#include <QByteArray>
#include <QList>
#include <QDateTime>
#include <QImage>
#include <QPointer>
#include <QSize>
#include <QStandardPaths>
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
#include "explore/explorer_settings.h"
#include "explore/palette_motion.h"
#include "explore/selection.h"
#include "explore/tuning_slider.h"
#include "explore/zoom_history.h"
#include "library/bookmark.h"
#include "library/palette_library.h"
#include "export/movie_encoder.h"
#include "sound/audio_input.h"
#include "sound/sound_input_menu.h"
#include "sound/sound_mapping.h"
#include "ui/alerts.h"

class QAction;
class QCloseEvent;
class QShowEvent;
class QDialog;
class QLabel;
class QMenu;
class QLayout;
class QTimer;

namespace gs {

class AdvancedModeTag;
class BookmarksBrowser;
class BackgroundRecording;
class BracketActionControl;
class BracketToggleControl;
class BrowserPanel;
class HUDStatView;
class JuliaView;
class MandelbrotView;
class NoticeOverlay;
class PictureFrame;
class PreferencesStore;
class RecordingProgress;
class Sidebar;
class AudioCapture;
class SoundAnalyzer;
class TuningPanelView;
class SoundInputButton;
class SoundLevelMeter;
class ZoomHistoryControl;
struct PaletteAnimationSnapshot;
struct RecordingResult;

class MacViewController : public QWidget {
    Q_OBJECT

public:
    // Texts of the two alerts, exactly as the user sees them.
    static const QString kZoomLimitMessage;
    static const QString kResetAllMessage;
    static constexpr int kRowsPerPartialDisplay = 30;

    // soundInput: what sound mode listens to (the system's audio capture when none is given).
    explicit MacViewController(QWidget* parent = nullptr,
                               std::unique_ptr<AudioInput> soundInput = nullptr);
    ~MacViewController() override;

    MandelbrotView* mandelbrotView() const { return fractalView_; }
    JuliaView* juliaView() const { return juliaView_; }
    // The main picture's proportions, windowed and in full screen: 4:3 by default; 0 lets the
    // picture fill its place.
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
    // Sets the bounds directly, outside the history, and renders.
    void setViewport(const Viewport& view);

    // --- Palette animation ---
    // One step of the animation timer: moves the palette by the time since the last tick.
    void animationTick();
    // The clock of the animation ticks, in seconds; tests replace it.
    std::function<double()> animationNow;
    bool animateColorsEnabled() const { return animateColorsEnabled_; }
    bool animationTimerRunning() const;
    double animationSpeed() const { return settings_.animationSpeed; }
    void setAnimationSpeed(double cyclesPerSecond) { settings_.animationSpeed = cyclesPerSecond; }

    // --- Sound mode ---
    // The Sound control: off when on; when off, on once the microphone may be used.
    void toggleSoundAction();
    // The one place that switches sound mode. On: starts listening (a failed start leaves
    // everything as it was), turns glow and relief on and drives the colours from the sound on
    // the animation tick; off: stops listening and restores glow and relief.
    void switchSoundMode(bool on);
    bool soundEnabled() const { return soundEnabled_; }
    const SoundState& soundState() const { return soundState_; }
    SoundAnalyzer* soundAnalyzer() const { return soundAnalyzer_; }
    // The audio input sound mode listens to, by id (empty: the system default; a remembered
    // input that is gone also falls back to it). Remembered across launches; choosing another
    // while listening listens to it at once.
    void chooseSoundInput(const QByteArray& id);
    const QByteArray& soundInputDevice() const { return soundInputId_; }
    // The system's capture that sound mode listens through; null when a test gave its own input.
    AudioCapture* soundCapture() const { return soundCapture_; }
    // The inputs the sound-input menu offers (the system's when unset); tests replace it.
    std::function<QList<AudioInputChoice>()> listSoundInputs;

    // --- Preferences ---
    bool isAdvancedMode() const { return isAdvancedMode_; }
    // Writes the four preferences together: advanced mode, animation speed, both tunings.
    void savePreferences();

    // --- Advanced mode ---
    // The slider table bound to this controller: six tabs whose accessors hold it weakly (once
    // it is gone, get gives the slider's default and set does nothing).
    std::vector<TuningTab> buildTuningTabs();
    // The mode tag: flips advanced mode, shows or hides the tuning panel, saves preferences.
    void handleModeTagTap();
    // Removes the tuning help card, if one is shown.
    void hideTuningHelp();
    TuningPanelView* tuningPanel() const { return tuningPanel_; }
    AdvancedModeTag* modeTag() const { return modeTag_; }

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

    // --- Palettes (mac_view_controller_palettes.cpp) ---
    // The palette browser: a drawer over the picture (the sidebar's "Palettes…", Ctrl+P).
    void showPaletteBrowser();
    void hidePaletteBrowser();
    void togglePaletteBrowser();
    void hidePaletteExplanationsOverlay();
    BrowserPanel* paletteBrowser() const { return paletteBrowser_; }
    // Colours the picture with a saved palette: auto-explore ends; the mode becomes smooth, the
    // frequency 2 and the phase 0; it becomes the current palette and the bookmark name is
    // cleared. The browser stays open, so palettes can be flipped through.
    void applyPalette(const SavedPalette& palette);
    // Asks for a name and saves the colour table as it is (a palette of that name is replaced).
    void saveCurrentPalette();
    void duplicatePalette(const SavedPalette& palette);
    void renamePalette(const SavedPalette& palette);  // user palettes only
    void deletePalette(const SavedPalette& palette);  // user palettes only, after asking
    // Puts the palette's file on the clipboard, as a file and as its path, and says so.
    void sharePalette(const SavedPalette& palette);
    // The file dialog; the files chosen go to importPaletteFiles.
    void importLocalPalettes();
    // Imports ".map" files (asking first when there are more than 200) and reports how it went.
    void importPaletteFiles(const QStringList& paths);
    // Reloads the user's and the built-in palettes, and the browser.
    void refreshPaletteCaches();
    const QList<SavedPalette>& userPalettesCache() const { return userPalettesCache_; }
    const QList<SavedPalette>& builtInPalettesCache() const { return builtInPalettesCache_; }
    // The online libraries: each opens its screen over the window; when it closes having
    // imported something, the lists of what it imported are reloaded.
    void showOnlinePaletteLibrary();
    void showOnlineBookmarkLibrary();
    // --- Export (mac_view_controller_export.cpp) ---
    // Writes the last picture put on screen (the main one or the Julia companion's) as a PNG
    // in the temporary directory and offers it in the save dialog. Nothing happens before the
    // first picture or when the file cannot be written.
    void saveImage();
    void saveJuliaImage();
    // Records one palette cycle of the picture as a movie on a worker, showing its progress,
    // then offers it in the save dialog (or says that it failed). Ignored during a render,
    // during another recording, and while the picture has no data.
    void recordPaletteAnimationAction();
    void recordJuliaPaletteAnimation();
    // Stops a running recording: its progress goes away, nothing is offered, no file is left.
    void cancelRecording();
    bool isRecordingPaletteAnimation() const { return isRecordingPaletteAnimation_; }
    // Copies of the last pictures put on screen, kept for export (null before the first).
    const QImage& lastCGImage() const { return lastCGImage_; }
    const QImage& lastJuliaCGImage() const { return lastJuliaCGImage_; }
    // The clock that names exported pictures; tests fix it.
    std::function<QDateTime()> exportTime;
    // The recordings' encoder (the size and rate come from the picture); tests name a missing
    // encoder or have a frame refused.
    MovieSettings recordingEncoder;
    // What the save dialog offers.
    struct SaveOffer {
        QString title;
        QString suggestedPath;  // the folder and the file name
        QString nameFilter;     // such as "PNG image (*.png)"
        QString suffix;         // added to a name typed without one
    };
    // How the export's dialogs are shown; tests replace them so that nothing waits. The save
    // dialog calls onChosen with the path the user confirmed (it asks itself before replacing
    // a file); cancelled, it calls nothing. The progress display calls onCancel when the user
    // cancels.
    std::function<void(const SaveOffer& offer, std::function<void(const QString& chosen)> onChosen)> presentSaveDialog;
    std::function<std::unique_ptr<RecordingProgress>(std::function<void()> onCancel)> presentRecordingProgress;

    // --- Escape ---
    // Escape closes the topmost open panel or overlay, or leaves full screen. Each closing is a
    // named command, offered only while what it closes is open; a lower layer closes first
    // (help card, then explanations, then browsers, then full screen).
    enum class EscapeLayer { helpCard = 0, explanations = 1, browser = 2, fullScreen = 3 };
    void addEscapeCommand(const QString& title, EscapeLayer layer, std::function<bool()> isOpen,
                          std::function<void()> close);
    // The titles of the commands Escape offers now, the one it would run first.
    QStringList offeredEscapeCommands() const;
    // What Escape does: runs the first offered command; false when none is offered.
    bool handleEscape();

    // --- Bookmarks and share links (mac_view_controller_bookmarks.cpp) ---
    // Asks for a name, then keeps what is on screen as a bookmark of the user's.
    void saveCurrentLocation();
    void duplicateBookmark(const Bookmark& bookmark);  // asks for the copy's name
    void renameBookmark(const Bookmark& bookmark);     // a user bookmark; asks for the new name
    void deleteBookmark(const Bookmark& bookmark);     // a user bookmark; asks first
    // Shows everything the bookmark holds, as a new view (Back returns), in one render; stops
    // AUTO and ANIMATE.
    void applyBookmark(const Bookmark& bookmark);
    // Copies the bookmark's link to the clipboard and says so.
    void shareBookmark(const Bookmark& bookmark);
    // Copies a link of what is on screen, named "Bookmark".
    void copyLinkToCurrentView();
    // Opens a link from the clipboard as a received one; anything else is ignored.
    void openLinkFromClipboard();
    // A link handed to the program: shown at once, then offered for keeping. One that does not
    // read is ignored.
    void receiveIncomingURL(const QString& link);
    // A link given at start waits here until the window has appeared.
    std::optional<QString> pendingIncomingURL;
    // Reloads the user's and the built-in bookmarks, then the browser and the status labels.
    void refreshBookmarkCaches();
    const QList<Bookmark>& userBookmarksCache() const { return userBookmarksCache_; }
    const QList<Bookmark>& builtInBookmarksCache() const { return builtInBookmarksCache_; }
    // What is on screen as a bookmark of that name, the colour table baked as shown; nothing when
    // the table does not bake to 256 colours.
    std::optional<Bookmark> currentLocationBookmark(const QString& name) const;
    void showBookmarksBrowser();
    void hideBookmarksBrowser();
    void hideBookmarksExplanationsOverlay();
    BookmarksBrowser* bookmarksBrowser() const { return bookmarksBrowser_; }
    // The sidebar's two lines: the bookmark's name (or "Unsaved Location") and the zoom.
    QString bookmarkStatusText() const;

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
    // Colouring, light, animation speed and sound tuning.
    const ExplorerSettings& settings() const { return settings_; }
    double frequency() const { return settings_.frequency; }
    double cycleOffset() const { return settings_.cycleOffset; }
    bool demEnabled() const { return settings_.demEnabled; }
    bool glowEnabled() const { return settings_.glowEnabled; }
    bool trapsEnabled() const { return settings_.trapsEnabled; }
    bool reliefEnabled() const { return settings_.reliefEnabled; }
    const ShadingTuning& tuning() const { return settings_.tuning; }
    double reliefLightRawX() const { return settings_.reliefLightRawX; }
    double reliefLightRawY() const { return settings_.reliefLightRawY; }
    ReliefLight reliefLight() const { return settings_.reliefLight(); }
    const std::optional<QString>& currentPaletteName() const { return currentPaletteName_; }
    const std::optional<QString>& currentBookmarkName() const { return currentBookmarkName_; }
    // The values of the status display: zoom, max iter, centre, computing time.
    QStringList statusTexts() const;
    // The full-screen line: what is on screen (the bookmark's name) and its zoom.
    QString fullScreenStatusLine() const;

    // How alerts are shown; tests replace them so that nothing waits for a click.
    std::function<void(const QString& message)> presentAlert;
    std::function<void(const QString& message, std::function<void()> onYes)> presentConfirmation;
    // The alert shown when the system refuses the microphone.
    std::function<void()> presentMicrophoneAlert;
    // Titled alerts, questions, name prompts, the file dialog and brief notices over the picture;
    // tests replace them too.
    std::function<void(const AlertText& alert)> presentTitledAlert;
    std::function<void(const QuestionText& question, std::function<void()> onAccept)> presentQuestion;
    std::function<void(const NamePrompt& prompt, std::function<void(const QString& text)> onAccept)>
        presentTextPrompt;
    std::function<void(const OpenFilesRequest& request, std::function<void(const QStringList& paths)> onChosen)>
        presentOpenFiles;
    std::function<void(const QString& text)> presentNotice;

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

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
    Sidebar* buildSidebar();
    QWidget* buildStatusBar();
    void buildShortcuts();
    QAction* addShortcut(const QString& title, const QKeySequence& keys, void (MacViewController::*command)());
    void connectControls();
    void refreshControls();
    void refreshHistoryControls();

    // View callbacks and layout (mac_view_controller.cpp).
    void connectViewCallbacks();
    void handleZoomRequested(const RectF& pixels);
    void handleZoomHistoryBack();
    void handleZoomHistoryForward();
    void handleColorCycle();
    void viewDidLayout();
    void juliaDidLayout();
    void showContextMenu(const QPoint& globalPos);
    void installDefaultPresenters();
    void returnKeyboardAfter(QDialog* dialog);

    // Export (mac_view_controller_export.cpp).
    void installExportPresenters();
    void showJuliaContextMenu(const QPoint& globalPos);
    bool canRecord() const;  // the main picture, now
    bool canRecordJulia() const;
    void offerPicture(const QImage& picture, const QString& title);
    void offerMovie(const QString& path);
    void offerFile(const QString& path, QStandardPaths::StandardLocation folder, const QString& name,
                   SaveOffer offer);
    void saveExportAs(const QString& from, const QString& to);
    void startRecording(PaletteAnimationSnapshot snapshot);
    void recordingFinished(const RecordingResult& result);

    // Render pipeline (mac_view_controller_render.cpp).
    ColourInputs colourInputs(const ShadingTuning& tuning) const;
    RenderRequest mandelbrotColours() const;  // the main picture's colouring as it is now
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

    // Palettes (mac_view_controller_palettes.cpp).
    void buildPalettes();
    void installDialogPresenters();
    void reloadPaletteBrowser();
    const SavedPalette* paletteAt(int section, int row) const;
    void showPaletteMenu(const SavedPalette& palette, const QPoint& globalPos);
    void importPaletteFilesNow(const QStringList& paths);

    // Preferences and the window's place (mac_view_controller_preferences.cpp).
    void loadPreferences();
    void restoreWindowPlace();
    void rememberWindowPlace();

    // Advanced mode and the tuning panel (mac_view_controller_tuning.cpp).
    TuningPanelView* buildTuningPanel();
    void setTuningValue(const TuningTarget& target, double value);
    void layoutForMode();
    void refreshAdvancedModeIndicator();
    void refreshTuningControls();  // the panel's values and tabs, and the amber dot
    void scheduleTuningRelight();
    void showNumericEntry(const TuningSliderSpec& info);
    void traceTuningSoon();
    void traceTuning() const;
    // GLIMMERSCAPE_TRACE=1: commands on standard input (mac_view_controller_trace_commands.cpp).
    void listenForTraceCommands();
    void answerTraceCommand(const QByteArray& command);
    void answerPictureCheck();

    // Sound mode (mac_view_controller_sound.cpp).
    void buildSoundAnalyzer(std::unique_ptr<AudioInput> input);
    bool startListening();  // notes why when it fails
    void listenAgain();     // after the input changed while listening
    void soundInputLost();
    void soundTickStep(double dt);
    // Sound mode's controls (mac_view_controller_sound_controls.cpp).
    QWidget* buildSoundRow(QWidget* parent);
    void fillSoundInputMenu(QMenu* menu);
    void refreshSoundControls();
    QString soundToolTip() const;
    void traceSound() const;

    // Palette animation (mac_view_controller_animation.cpp).
    void startAnimationTimer();
    void stopAnimationTimer();

    // Auto-explore (mac_view_controller_auto.cpp).
    void scheduleAutoStep();
    void stopAutoExplore();  // a gesture or Reset All ends the flight

    // Full screen (mac_view_controller_fullscreen.cpp).
    QWidget* buildFullScreenChrome();
    BracketToggleControl* twin(BracketToggleControl* windowed, void (MacViewController::*command)());
    void placeFullScreenChrome();
    void enterFullScreen();
    void exitFullScreen();
    void swapJuliaIntoPicture();
    void swapJuliaBack();
    void prepareDissolve();
    void fadeOutDissolve();
    void removeDissolve();

    // Escape (mac_view_controller_layout.cpp).
    struct EscapeCommand {
        QString title;
        EscapeLayer layer;
        std::function<bool()> isOpen;
        std::function<void()> close;
    };

    // History (mac_view_controller_history.cpp).
    void applyHistoryMove(const HistoryMove& move);

    // Bookmarks (mac_view_controller_bookmarks.cpp).
    QLayout* buildBookmarkStatus(QWidget* sidebar);
    void setUpBookmarks();
    void saveCurrentLocationNamed(const QString& text);
    QWidget* bookmarksPanel() const;  // the bookmarks browser's drawer, once it exists
    void duplicateBookmarkNamed(const Bookmark& original, const QString& text);
    void renameBookmarkTo(const Bookmark& bookmark, const QString& text);
    void showBookmarkLook(const Bookmark& bookmark);
    void offerReceivedBookmark(Bookmark bookmark);
    void copyLink(const Bookmark& bookmark, const QString& notice);
    void receivePendingURL();
    void refreshBookmarkLabels();
    void toggleBookmarksBrowser();

    // --- Exploration state ---
    ZoomHistory history_;
    std::optional<QString> currentBookmarkName_;
    std::optional<QString> currentPaletteName_;
    std::unique_ptr<RandomSource> rng_;
    PaletteMode paletteMode_ = PaletteMode::smooth;
    std::shared_ptr<const ColorTable> colorTable_ = std::make_shared<const ColorTable>();
    ExplorerSettings settings_;
    // Values at the start of a palette or frequency pan.
    double paletteShiftBaseCycleOffset_ = settings_.cycleOffset;
    double frequencyShiftBaseFrequency_ = settings_.frequency;
    double reliefLightShiftBaseX_ = settings_.reliefLightRawX;
    double reliefLightShiftBaseY_ = settings_.reliefLightRawY;

    // --- Palette animation, auto-explore and full screen ---
    bool animateColorsEnabled_ = false;
    QTimer* animationTimer_ = nullptr;
    AnimationClock animationClock_;
    bool autoEnabled_ = false;
    QTimer* autoTimer_ = nullptr;
    bool chromeHidden_ = false;
    bool juliaFullscreen_ = false;
    double pictureAspect_ = 4.0 / 3.0;  // the home view's proportions
    QRect windowedGeometry_;
    bool coveringScreenItself_ = false;  // full screen without a window manager's help
    QPointer<QWidget> autoDissolveOverlay_;

    // --- Palettes ---
    QList<SavedPalette> userPalettesCache_, builtInPalettesCache_;
    std::vector<PaletteSection> paletteSections_;  // as the browser shows them

    // --- Sound mode ---
    SoundAnalyzer* soundAnalyzer_ = nullptr;
    bool soundEnabled_ = false;
    std::optional<bool> soundGlowStateBeforeSound_, soundReliefStateBeforeSound_;
    SoundState soundState_;
    AudioCapture* soundCapture_ = nullptr;  // the analyzer's input, unless a test gave another
    QByteArray soundInputId_;               // the chosen input; empty: the system default
    QString soundListeningTo_;              // the input's description while listening
    QString soundProblem_;                  // why listening failed or stopped, until it starts again

    // --- Preferences ---
    std::unique_ptr<PreferencesStore> preferences_;
    bool isAdvancedMode_ = false;
    QByteArray windowedPlace_;  // saveGeometry() of the window before it went full screen
    bool placeRestored_ = false;

    // --- Advanced mode ---
    TuningPanelView* tuningPanel_ = nullptr;
    AdvancedModeTag* modeTag_ = nullptr;
    bool tuningRelightPending_ = false;
    bool tuningTracePending_ = false;

    // --- Bookmarks ---
    QList<Bookmark> userBookmarksCache_;
    QList<Bookmark> builtInBookmarksCache_;
    BookmarksBrowser* bookmarksBrowser_ = nullptr;
    QLabel* bookmarkStatus_ = nullptr;  // the sidebar's two lines: the name, then the zoom
    QLabel* bookmarkZoom_ = nullptr;
    BracketActionControl* bookmarksControl_ = nullptr;
    // --- Export ---
    QImage lastCGImage_, lastJuliaCGImage_;
    bool isRecordingPaletteAnimation_ = false;
    bool recordingCancelled_ = false;
    std::unique_ptr<RecordingProgress> recordingProgress_;
    std::unique_ptr<BackgroundRecording> recording_;

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
    BracketToggleControl* soundToggle_ = nullptr;
    BracketToggleControl* fullScreenSoundToggle_ = nullptr;
    SoundInputButton* soundInputButton_ = nullptr;
    SoundLevelMeter* soundLevelMeter_ = nullptr;
    BracketActionControl* newPaletteControl_ = nullptr;
    BracketActionControl* palettesControl_ = nullptr;
    BracketActionControl* resetViewControl_ = nullptr;
    BracketActionControl* resetAllControl_ = nullptr;
    BracketActionControl* saveImageControl_ = nullptr;
    BracketActionControl* recordAnimationControl_ = nullptr;
    BracketActionControl* helpControl_ = nullptr;
    ZoomHistoryControl* zoomBackControl_ = nullptr;
    ZoomHistoryControl* zoomForwardControl_ = nullptr;
    Sidebar* sidebar_ = nullptr;
    QWidget* statusBar_ = nullptr;
    QWidget* fullScreenChrome_ = nullptr;
    BrowserPanel* paletteBrowser_ = nullptr;
    NoticeOverlay* notice_ = nullptr;
    QLabel* fullScreenStatus_ = nullptr;
    std::vector<HUDStatView*> fullScreenStats_;  // the status display's full-screen set
    std::vector<EscapeCommand> escapeCommands_;  // ordered by layer
    // Each windowed toggle with its full-screen copy, which always shows the same state.
    std::vector<std::pair<BracketToggleControl*, BracketToggleControl*>> toggleTwins_;
    HUDStatView* hudZoomStat_ = nullptr;
    HUDStatView* hudIterStat_ = nullptr;
    HUDStatView* hudCenterStat_ = nullptr;
    HUDStatView* hudRenderStat_ = nullptr;
};

}  // namespace gs
