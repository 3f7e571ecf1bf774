#include "preferences.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QStandardPaths>

#include "tuning_json.h"

namespace gs {
namespace {

const QString kAdvancedModeKey = QStringLiteral("glimmerscape.advancedMode");
const QString kAnimationSpeedKey = QStringLiteral("glimmerscape.animationSpeed");
const QString kShadingTuningKey = QStringLiteral("glimmerscape.shadingTuning");
const QString kSoundTuningKey = QStringLiteral("glimmerscape.soundTuning");
const QString kWindowGeometryKey = QStringLiteral("window/geometry");
const QString kWindowFullScreenKey = QStringLiteral("window/fullScreen");
const QString kSoundInputKey = QStringLiteral("sound/inputDevice");
const QString kLibraryUrlKey = QStringLiteral("library/url");

// The stored blob of a key, when the key holds anything.
std::optional<QByteArray> storedData(const QSettings& s, const QString& key) {
    const QVariant v = s.value(key);
    if (!v.isValid()) return std::nullopt;
    return v.toByteArray();
}

// Our file is a few kilobytes; anything this large was not written by us.
constexpr qint64 kLargestSettingsFile = 1 << 20;

QString userSettingsPath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("glimmerscape/glimmerscape.conf"));
}

bool isDamaged(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;  // missing or unreadable: QSettings copes
    if (file.size() > kLargestSettingsFile) return true;
    const QByteArray text = file.readAll();
    return text.contains("@Variant(") || text.contains("@DateTime(");
}

// QSettings guards each write with "<name>.lock", which names its owner. One killed between
// creating that file and writing the owner in it names nobody, and QSettings would wait until
// it is half a minute old before taking it over, with the window frozen meanwhile. Only one
// instance of the program runs, so such a lock is left over and goes.
void removeOwnerlessLock(const QString& path) {
    const QString lockPath = path + QStringLiteral(".lock");
    qint64 pid = 0;
    QString hostName, appName;
    if (QFile::exists(lockPath) && !QLockFile(lockPath).getLockInfo(&pid, &hostName, &appName))
        QFile::remove(lockPath);
}

}  // namespace

PreferencesStore::DamageCheck::DamageCheck(const QString& path) {
    removeOwnerlessLock(path);
    if (!isDamaged(path)) return;
    const QString aside = path + QStringLiteral(".damaged");
    QFile::remove(aside);
    if (!QFile::rename(path, aside)) QFile::remove(path);
}

PreferencesStore::PreferencesStore()
    : damageCheck_(userSettingsPath()),
      settings_(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("glimmerscape"),
                QStringLiteral("glimmerscape")) {}

PreferencesStore::PreferencesStore(const QString& iniPath)
    : damageCheck_(iniPath), settings_(iniPath, QSettings::IniFormat) {}

LoadedPreferences PreferencesStore::load(const ShadingTuningCheck& keepShadingTuning) const {
    LoadedPreferences p;
    p.advancedMode = settings_.value(kAdvancedModeKey).toBool();
    // An absent key reads 0, which the range refuses.
    const double speed = settings_.value(kAnimationSpeedKey).toDouble();
    if (kMinAnimationSpeed <= speed && speed <= kMaxAnimationSpeed) p.animationSpeed = speed;
    if (const auto blob = storedData(settings_, kShadingTuningKey)) {
        p.shadingTuning = decodeShadingTuning(*blob);
        if (p.shadingTuning && keepShadingTuning && !keepShadingTuning(*p.shadingTuning))
            p.shadingTuning.reset();
    }
    if (const auto blob = storedData(settings_, kSoundTuningKey)) p.soundTuning = decodeSoundTuning(*blob);
    return p;
}

void PreferencesStore::save(const PreferenceValues& values) {
    settings_.setValue(kAdvancedModeKey, values.advancedMode);
    settings_.setValue(kAnimationSpeedKey, values.animationSpeed);
    if (const QByteArray json = encodeShadingTuning(values.shadingTuning); !json.isEmpty())
        settings_.setValue(kShadingTuningKey, json);
    if (const QByteArray json = encodeSoundTuning(values.soundTuning); !json.isEmpty())
        settings_.setValue(kSoundTuningKey, json);
}

QByteArray PreferencesStore::windowGeometry() const { return settings_.value(kWindowGeometryKey).toByteArray(); }

void PreferencesStore::setWindowGeometry(const QByteArray& geometry) {
    settings_.setValue(kWindowGeometryKey, geometry);
}

bool PreferencesStore::windowFullScreen() const { return settings_.value(kWindowFullScreenKey).toBool(); }

void PreferencesStore::setWindowFullScreen(bool fullScreen) {
    settings_.setValue(kWindowFullScreenKey, fullScreen);
}

QByteArray PreferencesStore::soundInputDevice() const { return settings_.value(kSoundInputKey).toByteArray(); }

void PreferencesStore::setSoundInputDevice(const QByteArray& deviceId) {
    settings_.setValue(kSoundInputKey, deviceId);
}

QString PreferencesStore::libraryUrl() const { return settings_.value(kLibraryUrlKey).toString(); }

void PreferencesStore::setLibraryUrl(const QString& url) { settings_.setValue(kLibraryUrlKey, url); }

void PreferencesStore::sync() { settings_.sync(); }

}  // namespace gs
