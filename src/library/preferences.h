// The user's settings that outlive a launch, in the per-user settings file
// (~/.config/glimmerscape/glimmerscape.conf): the four explorer preferences, plus the window's
// place, the chosen audio input and the online library's address.
#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <functional>
#include <optional>

#include "core/shading.h"
#include "core/sound_tuning.h"

namespace gs {

inline constexpr double kDefaultAnimationSpeed = 0.12;
inline constexpr double kMinAnimationSpeed = 0.02;
inline constexpr double kMaxAnimationSpeed = 1.0;

// What a load found. An absent optional means "keep the current value": the key was missing,
// or its value was refused (a speed outside 0.02…1.0, a tuning that does not decode).
struct LoadedPreferences {
    bool advancedMode = false;  // a missing key reads false
    std::optional<double> animationSpeed;
    std::optional<ShadingTuning> shadingTuning;
    std::optional<SoundTuning> soundTuning;
};

// The four values a save writes, all together.
struct PreferenceValues {
    bool advancedMode = false;
    double animationSpeed = kDefaultAnimationSpeed;
    ShadingTuning shadingTuning;
    SoundTuning soundTuning;
};

// Says whether a decoded shading tuning may be used; one it refuses falls back whole to the
// defaults, exactly like one that does not decode.
using ShadingTuningCheck = std::function<bool(const ShadingTuning&)>;

// GUI thread only. A settings file that is missing, unreadable or garbage reads as defaults;
// nothing is written until a setter or save is called. A file holding values this store never
// writes in a binary form ("@Variant(…)", "@DateTime(…)"), or far larger than it ever writes, is
// renamed to "<name>.damaged" before it is opened: Qt decodes such values trusting the sizes in
// them, and a damaged one can ask for gigabytes and stop the program.
class PreferencesStore {
public:
    PreferencesStore();                               // the user's settings file
    explicit PreferencesStore(const QString& iniPath);  // another file (tests, tools)

    // Reads the four keys in order: advanced mode, speed, shading tuning, sound tuning. The
    // caller applies each present value, then saves after a loaded tuning.
    // keepShadingTuning: the colouring's own test of a stored tuning (none: every decoded
    // tuning is kept).
    LoadedPreferences load(const ShadingTuningCheck& keepShadingTuning = {}) const;
    // Writes all four keys, in the order above. A tuning that cannot be encoded (a field that
    // is not finite) is skipped; the others are still written.
    void save(const PreferenceValues& values);

    // The window's geometry as QWidget::saveGeometry gives it (empty when never stored).
    QByteArray windowGeometry() const;
    void setWindowGeometry(const QByteArray& geometry);
    bool windowFullScreen() const;
    void setWindowFullScreen(bool fullScreen);
    // The audio input chosen by the user (a device id; empty: the system's default).
    QByteArray soundInputDevice() const;
    void setSoundInputDevice(const QByteArray& deviceId);
    // The online library's address as the user entered it (empty: the built-in one).
    QString libraryUrl() const;
    void setLibraryUrl(const QString& url);

    // Writes pending changes now (they are written on destruction anyway).
    void sync();

private:
    struct DamageCheck {
        explicit DamageCheck(const QString& path);
    } damageCheck_;  // runs before settings_ opens the file
    mutable QSettings settings_;
};

}  // namespace gs
