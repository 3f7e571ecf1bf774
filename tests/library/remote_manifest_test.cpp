#include "library/remote_manifest.h"

#include <gtest/gtest.h>

#include <QSettings>

#include "library/library_location.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

TEST(RemoteManifest, DecodesEveryFieldAndTheOptionalOnes) {
    const auto m = decodeRemotePaletteManifest(R"({"manifestVersion": 3, "extra": true,
        "collections": [{"id": "warm", "title": "Warm", "path": "warm/", "credit": "Ada",
            "license": "CC0-1.0", "palettes": [{"name": "Ember", "file": "Ember.map",
            "swatch": ["#ff8000", "000000"]}]},
        {"id": "warm", "title": "Again", "path": "", "credit": null, "palettes": []}]})");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->manifestVersion, 3);
    ASSERT_EQ(m->collections.size(), 2);
    const RemoteCollection& warm = m->collections[0];
    EXPECT_EQ(warm.path + warm.credit.value_or(u""_s) + warm.license.value_or(u""_s),
              u"warm/AdaCC0-1.0"_s);
    EXPECT_EQ(warm.palettes[0].file, u"Ember.map"_s);
    EXPECT_EQ(warm.palettes[0].swatch, (QStringList{u"#ff8000"_s, u"000000"_s}));
    EXPECT_FALSE(m->collections[1].credit || m->collections[1].license);

    const auto b = decodeRemoteBookmarkManifest(R"({"manifestVersion": -1, "collections": [
        {"id": "z", "title": "Z", "path": "z", "bookmarks": [{"name": "Spiral",
            "file": "Spiral.json", "xmin": -0.75, "xmax": -0.5, "swatch": []}]}]})");
    ASSERT_TRUE(b);
    EXPECT_EQ(remoteBookmarkZoom(b->collections[0].bookmarks[0]), 16.0);
    EXPECT_EQ(remoteBookmarkZoom({{}, {}, 1.0, 1.0, {}}), 1.0);
}

TEST(RemoteManifest, RefusesWhatDoesNotDecode) {
    for (const char* json :
         {"", "[]", R"({"collections": []})", R"({"manifestVersion": 1.5, "collections": []})",
          R"({"manifestVersion": 1, "collections": [7]})"})
        EXPECT_FALSE(decodeRemotePaletteManifest(json)) << json;
    // A mistyped optional key, an entry key missing, mistyped or null, a bookmark collection.
    for (const char* fields :
         {R"("credit": 5, "palettes": [])", R"("palettes": [{"name": "x", "file": "x.map"}])",
          R"("palettes": [{"name": "x", "file": "x.map", "swatch": [255]}])",
          R"("palettes": [{"name": null, "file": "x.map", "swatch": []}])", R"("bookmarks": [])"}) {
        const QString json = QStringLiteral(R"({"manifestVersion": 1, "collections": [
            {"id": "a", "title": "A", "path": "", %1}]})")
                                 .arg(QLatin1String(fields));
        EXPECT_FALSE(decodeRemotePaletteManifest(json.toUtf8())) << fields;
    }
    EXPECT_FALSE(decodeRemoteBookmarkManifest(R"({"manifestVersion": 1, "collections": [{"id": "a",
        "title": "A", "path": "", "bookmarks": [
            {"name": "x", "file": "x", "xmin": "0", "xmax": 1, "swatch": []}]}]})"));
}

// Only the low 24 bits count, and short numbers are the low bits; anything else is grey,
// including a number beyond 64 bits.
TEST(RemoteManifest, SwatchStopsReadAsHexadecimalColours) {
    for (const char* stop : {"#ff8000", "ff8000", "#FF8000", "#12ff8000"})
        EXPECT_EQ(swatchColor(QString::fromUtf8(stop)), (aColor{1.0, 128 / 255.0, 0.0})) << stop;
    EXPECT_EQ(swatchColor(u"80"_s), (aColor{0, 0, 128 / 255.0}));
    for (const char* stop :
         {"##ff8000", "#", "", "ff 8000", "0xff8000", "orange", "-ff8000", "#ff8000ff8000ff800"})
        EXPECT_EQ(swatchColor(QString::fromUtf8(stop)), (aColor{0.5, 0.5, 0.5})) << stop;
}

// Escapes in the origin's path stay escapes, one level deep, in every address made from it.
// That an entry never leaves the library's folder is fuzz_library_origin's to check.
TEST(LibraryLocation, BuildsTheLibraryAddresses) {
    const auto base = [](const char* origin, LibraryKind kind = LibraryKind::palettes) {
        return libraryBaseUrl(QUrl(QString::fromLatin1(origin)), kind);
    };
    const QUrl palettes = base("https://example.org/mirror");
    const QUrl escaped = base("https://example.org/a%2Fb%20c");
    const std::pair<QUrl, const char*> cases[] = {
        {palettes, "https://example.org/mirror/Glimmerscape/Palettes/"},
        {base("https://example.org/", LibraryKind::bookmarks),
         "https://example.org/Glimmerscape/Bookmarks/"},
        {libraryManifestUrl(palettes),
         "https://example.org/mirror/Glimmerscape/Palettes/manifest.json"},
        {libraryEntryUrl(palettes, u"warm/"_s, u"Deep Sea?.map"_s),
         "https://example.org/mirror/Glimmerscape/Palettes/warm/Deep%20Sea%3F.map"},
        {libraryEntryUrl(palettes, QString(), u"a.map"_s),
         "https://example.org/mirror/Glimmerscape/Palettes/a.map"},
        {libraryManifestUrl(escaped),
         "https://example.org/a%2Fb%20c/Glimmerscape/Palettes/manifest.json"},
        {libraryEntryUrl(escaped, u"100%"_s, u"x.map"_s),
         "https://example.org/a%2Fb%20c/Glimmerscape/Palettes/100%25/x.map"},
    };
    for (const auto& [url, expected] : cases)
        EXPECT_EQ(url.toString(QUrl::FullyEncoded), QLatin1String(expected));
}

TEST(LibraryLocation, AcceptsWebAndFileOriginsOnly) {
    for (const char* good :
         {"https://example.org", "http://192.0.2.1:8080/lib", "file:///srv/share/library"})
        EXPECT_TRUE(parseLibraryOrigin(QString::fromUtf8(good))) << good;
    // Other schemes, queries and fragments are fuzz_library_origin's to check.
    for (const char* bad : {"", "https://", "file:relative"})
        EXPECT_FALSE(parseLibraryOrigin(QString::fromUtf8(bad))) << bad;
}

// The environment wins over the setting, which wins over the default; a bad value is refused
// rather than replaced.
// Runs in the tests' private home (library_test_support.cpp), whose settings file Qt locates
// once a process: the test clears the setting itself rather than moving the folder.
TEST(LibraryLocation, TheEnvironmentWinsOverTheSetting) {
    QSettings settings(QSettings::NativeFormat, QSettings::UserScope,
                       QStringLiteral("glimmerscape"), QStringLiteral("glimmerscape"));
    settings.remove(QLatin1String(kLibraryUrlSetting));
    settings.sync();
    qunsetenv(kLibraryUrlEnvironment);
    EXPECT_EQ(configuredLibraryOrigin(), QUrl(QString::fromLatin1(kDefaultLibraryOrigin)));
    settings.setValue(QLatin1String(kLibraryUrlSetting),
                      QStringLiteral("file:///mnt/share/library"));
    settings.sync();
    EXPECT_EQ(configuredLibraryOrigin(), QUrl(QStringLiteral("file:///mnt/share/library")));
    qputenv(kLibraryUrlEnvironment, "https://mirror.example.org");
    EXPECT_EQ(configuredLibraryOrigin(), QUrl(QStringLiteral("https://mirror.example.org")));
    qputenv(kLibraryUrlEnvironment, "not a url");
    EXPECT_EQ(configuredLibraryOrigin(), std::nullopt);
    qunsetenv(kLibraryUrlEnvironment);
    settings.remove(QLatin1String(kLibraryUrlSetting));
}

}  // namespace
}  // namespace gs
