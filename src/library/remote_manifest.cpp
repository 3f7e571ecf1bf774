#include "remote_manifest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace gs {
namespace {

// Reads fields of one JSON object; the first missing or mistyped key makes `ok` false for good.
class FieldReader {
public:
    explicit FieldReader(const QJsonObject& object) : object_(object) {}

    bool ok() const { return ok_; }

    QString string(QLatin1StringView key) {
        const QJsonValue v = object_.value(key);
        return require(v.isString()) ? v.toString() : QString();
    }

    // Absent or null gives nothing; any other type than a string fails.
    std::optional<QString> optionalString(QLatin1StringView key) {
        const QJsonValue v = object_.value(key);
        if (v.isUndefined() || v.isNull()) return std::nullopt;
        if (!require(v.isString())) return std::nullopt;
        return v.toString();
    }

    double number(QLatin1StringView key) {
        const QJsonValue v = object_.value(key);
        return require(v.isDouble() && std::isfinite(v.toDouble())) ? v.toDouble() : 0.0;
    }

    qint64 wholeNumber(QLatin1StringView key) {
        const QJsonValue v = object_.value(key);
        // toInteger gives its fallback for fractions and for numbers beyond 64 bits.
        const bool whole = v.isDouble() && v.toInteger(0) == v.toInteger(1);
        return require(whole) ? v.toInteger() : 0;
    }

    QJsonArray array(QLatin1StringView key) {
        const QJsonValue v = object_.value(key);
        return require(v.isArray()) ? v.toArray() : QJsonArray();
    }

    QStringList strings(QLatin1StringView key) {
        QStringList list;
        for (const QJsonValue& v : array(key)) {
            if (!require(v.isString())) return {};
            list.append(v.toString());
        }
        return list;
    }

    // Decodes every element of an array of objects with decode(FieldReader&).
    template <class T, class Decode>
    QList<T> objects(QLatin1StringView key, Decode decode) {
        QList<T> list;
        for (const QJsonValue& v : array(key)) {
            if (!require(v.isObject())) return {};
            FieldReader inner(v.toObject());
            T item = decode(inner);
            if (!require(inner.ok())) return {};
            list.append(std::move(item));
        }
        return list;
    }

private:
    bool require(bool condition) {
        ok_ = ok_ && condition;
        return ok_;
    }

    const QJsonObject& object_;
    bool ok_ = true;
};

RemotePaletteEntry readPaletteEntry(FieldReader& r) {
    RemotePaletteEntry e;
    e.name = r.string(QLatin1StringView("name"));
    e.file = r.string(QLatin1StringView("file"));
    e.swatch = r.strings(QLatin1StringView("swatch"));
    return e;
}

RemoteBookmarkEntry readBookmarkEntry(FieldReader& r) {
    RemoteBookmarkEntry e;
    e.name = r.string(QLatin1StringView("name"));
    e.file = r.string(QLatin1StringView("file"));
    e.xmin = r.number(QLatin1StringView("xmin"));
    e.xmax = r.number(QLatin1StringView("xmax"));
    e.swatch = r.strings(QLatin1StringView("swatch"));
    return e;
}

// The fields the two kinds of collection share; `entries` reads the list under its own key.
template <class Collection, class ReadEntries>
Collection readCollection(FieldReader& r, ReadEntries entries) {
    Collection c;
    c.id = r.string(QLatin1StringView("id"));
    c.title = r.string(QLatin1StringView("title"));
    c.path = r.string(QLatin1StringView("path"));
    c.credit = r.optionalString(QLatin1StringView("credit"));
    c.license = r.optionalString(QLatin1StringView("license"));
    entries(r, c);
    return c;
}

template <class Manifest, class Collection, class ReadEntries>
std::optional<Manifest> decodeManifest(const QByteArray& json, ReadEntries entries) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject root = document.object();
    FieldReader r(root);
    Manifest m;
    m.manifestVersion = r.wholeNumber(QLatin1StringView("manifestVersion"));
    m.collections = r.template objects<Collection>(
        QLatin1StringView("collections"),
        [&](FieldReader& inner) { return readCollection<Collection>(inner, entries); });
    if (!r.ok()) return std::nullopt;
    return m;
}

}  // namespace

std::optional<RemotePaletteManifest> decodeRemotePaletteManifest(const QByteArray& json) {
    return decodeManifest<RemotePaletteManifest, RemoteCollection>(
        json, [](FieldReader& r, RemoteCollection& c) {
            c.palettes = r.objects<RemotePaletteEntry>(QLatin1StringView("palettes"),
                                                       readPaletteEntry);
        });
}

std::optional<RemoteBookmarkManifest> decodeRemoteBookmarkManifest(const QByteArray& json) {
    return decodeManifest<RemoteBookmarkManifest, RemoteBookmarkCollection>(
        json, [](FieldReader& r, RemoteBookmarkCollection& c) {
            c.bookmarks = r.objects<RemoteBookmarkEntry>(QLatin1StringView("bookmarks"),
                                                         readBookmarkEntry);
        });
}

aColor swatchColor(const QString& stop) {
    const QString digits = stop.startsWith(QLatin1Char('#')) ? stop.mid(1) : stop;
    // Characters beyond Latin-1 become "?", which is no hexadecimal digit either.
    const QByteArray ascii = digits.toLatin1();
    std::uint64_t value = 0;
    const char* end = ascii.constData() + ascii.size();
    const auto [stopAt, ec] = std::from_chars(ascii.constData(), end, value, 16);
    if (ascii.isEmpty() || ec != std::errc() || stopAt != end) return {0.5, 0.5, 0.5};
    return {static_cast<double>((value >> 16) & 0xFF) / 255.0,
            static_cast<double>((value >> 8) & 0xFF) / 255.0,
            static_cast<double>(value & 0xFF) / 255.0};
}

std::vector<aColor> swatchColors(const QStringList& swatch) {
    std::vector<aColor> colors;
    colors.reserve(static_cast<std::size_t>(swatch.size()));
    for (const QString& stop : swatch) colors.push_back(swatchColor(stop));
    return colors;
}

double remoteBookmarkZoom(const RemoteBookmarkEntry& entry) {
    const double width = entry.xmax - entry.xmin;
    return std::isnormal(width) && width > 0 ? 4.0 / width : 1.0;
}

}  // namespace gs
