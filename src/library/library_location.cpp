#include "library_location.h"

#include <QSettings>
#include <QStringList>

namespace gs {
namespace {

// Appends the parts of `relative` between slashes to an encoded path, each percent-encoded,
// skipping empty ones; false for "." and "..".
bool appendComponents(QString& path, const QString& relative) {
    for (const QString& part : relative.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (part == QLatin1String(".") || part == QLatin1String("..")) return false;
        if (!path.endsWith(QLatin1Char('/'))) path += QLatin1Char('/');
        path += QString::fromLatin1(QUrl::toPercentEncoding(part));
    }
    return true;
}

}  // namespace

std::optional<QUrl> parseLibraryOrigin(const QString& text) {
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    if (!url.isValid() || url.hasQuery() || url.hasFragment()) return std::nullopt;
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("file")) {
        if (!url.path().startsWith(QLatin1Char('/'))) return std::nullopt;
        return url;
    }
    const bool web = scheme == QLatin1String("https") || scheme == QLatin1String("http");
    if (!web || url.host().isEmpty()) return std::nullopt;
    return url;
}

std::optional<QUrl> configuredLibraryOrigin() {
    const QString fromEnvironment = qEnvironmentVariable(kLibraryUrlEnvironment);
    if (!fromEnvironment.isEmpty()) return parseLibraryOrigin(fromEnvironment);
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope,
                             QStringLiteral("glimmerscape"), QStringLiteral("glimmerscape"));
    const QVariant fromSettings = settings.value(QLatin1String(kLibraryUrlSetting));
    if (fromSettings.isValid()) return parseLibraryOrigin(fromSettings.toString());
    return parseLibraryOrigin(QLatin1String(kDefaultLibraryOrigin));
}

QUrl libraryBaseUrl(const QUrl& origin, LibraryKind kind) {
    QUrl base = origin;
    QString path = origin.path(QUrl::FullyEncoded);
    if (!path.endsWith(QLatin1Char('/'))) path += QLatin1Char('/');
    path += kind == LibraryKind::palettes ? QLatin1String("Glimmerscape/Palettes/")
                                          : QLatin1String("Glimmerscape/Bookmarks/");
    base.setPath(path, QUrl::TolerantMode);
    return base;
}

QUrl libraryManifestUrl(const QUrl& baseUrl) {
    QUrl url = baseUrl;
    url.setPath(baseUrl.path(QUrl::FullyEncoded) + QLatin1String("manifest.json"), QUrl::TolerantMode);
    return url;
}

QUrl libraryEntryUrl(const QUrl& baseUrl, const QString& collectionPath, const QString& file) {
    QString path = baseUrl.path(QUrl::FullyEncoded);
    if (!appendComponents(path, collectionPath) || !appendComponents(path, file)) return {};
    QUrl url = baseUrl;
    url.setPath(path, QUrl::TolerantMode);
    return url;
}

}  // namespace gs
