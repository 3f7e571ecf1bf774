// Where the online libraries live. The origin is configuration: the environment variable
// GLIMMERSCAPE_LIBRARY_URL wins over the setting "library/url", and without either the
// program uses kDefaultLibraryOrigin. An origin is an https:// (or http://) address, optionally
// with a path, or a file:// folder, so a library can also live on a shared drive.
#pragma once

#include <QString>
#include <QUrl>
#include <optional>

namespace gs {

enum class LibraryKind { palettes, bookmarks };

inline constexpr char kLibraryUrlEnvironment[] = "GLIMMERSCAPE_LIBRARY_URL";
inline constexpr char kLibraryUrlSetting[] = "library/url";
inline constexpr char kDefaultLibraryOrigin[] = "https://library.glimmerscape.app";

// The origin a text names, or nothing when it is not an absolute https, http or file address
// (with a host for the first two, and without query or fragment).
std::optional<QUrl> parseLibraryOrigin(const QString& text);

// The configured origin: the environment variable when set and not empty, else the setting in
// QSettings(NativeFormat, UserScope, "glimmerscape", "glimmerscape") when present, else the
// default. Nothing when the chosen text is not a usable origin (no quiet fallback: a mistyped
// address should fail visibly rather than fetch from somewhere else).
std::optional<QUrl> configuredLibraryOrigin();

// The library's folder: the origin followed by "/Glimmerscape/Palettes/" or
// "/Glimmerscape/Bookmarks/".
QUrl libraryBaseUrl(const QUrl& origin, LibraryKind kind);
// The base URL followed by "manifest.json".
QUrl libraryManifestUrl(const QUrl& baseUrl);
// The base URL followed by the collection's path and the entry's file, each as path
// components. Empty (invalid) when a component is "." or "..", which would leave the library.
QUrl libraryEntryUrl(const QUrl& baseUrl, const QString& collectionPath, const QString& file);

}  // namespace gs
