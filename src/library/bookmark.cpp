#include "bookmark.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>
#include <cmath>

#include "core/fatal.h"
#include "core/tuning_fields.h"
#include "json_text.h"
#include "tuning_json.h"

namespace gs {
namespace {

std::uint8_t packedByte(double channel) {
    if (std::isnan(channel)) fatal("bookmark colour channel is not a number");
    const double v = std::round(channel * 255.0);  // halves away from zero
    if (v <= 0) return 0;
    return v > 255 ? 255 : static_cast<std::uint8_t>(v);
}

// One required key of a record, checked for its JSON type.
class RecordReader {
public:
    RecordReader(const QJsonObject& o, QString* error) : o_(o), error_(error) {}

    bool failed() const { return failed_; }
    void fail(const QString& why) {
        if (!failed_ && error_) *error_ = why;
        failed_ = true;
    }
    QJsonValue take(const char* key, bool (QJsonValue::*is)() const, const char* what) {
        const QJsonValue v = o_.value(QLatin1String(key));
        if (v.isUndefined()) fail(QStringLiteral("missing key \"%1\"").arg(key));
        else if (!(v.*is)()) fail(QStringLiteral("\"%1\" is not %2").arg(key, what));
        return v;
    }
    double number(const char* key) { return take(key, &QJsonValue::isDouble, "a number").toDouble(); }
    bool boolean(const char* key) { return take(key, &QJsonValue::isBool, "true or false").toBool(); }
    QString string(const char* key) { return take(key, &QJsonValue::isString, "a string").toString(); }

private:
    const QJsonObject& o_;
    QString* error_;
    bool failed_ = false;
};

std::optional<ColorTable> decodePaletteColors(const QString& text, QString* error) {
    const QByteArray ascii = text.toLatin1();
    const auto decoded = QByteArray::fromBase64Encoding(ascii, QByteArray::AbortOnBase64DecodingErrors);
    if (ascii.size() % 4 != 0 || !decoded) {
        if (error) *error = QStringLiteral("\"paletteColors\" is not padded base64 text");
        return std::nullopt;
    }
    return unpackColorBytes(*decoded, error);
}

void readTuning(const QJsonObject& o, RecordReader& r, Bookmark& b) {
    const QJsonValue v = o.value(QLatin1String("tuning"));
    if (v.isUndefined() || v.isNull()) return;
    if (!v.isObject()) return r.fail(QStringLiteral("\"tuning\" is not an object"));
    QString why;
    b.tuning = shadingTuningFromJson(v.toObject(), &why);
    if (!b.tuning) r.fail(QStringLiteral("\"tuning\": ") + why);
}

}  // namespace

QByteArray packColorBytes(const ColorTable& colors) {
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(3 * colors.size()));
    for (const aColor& c : colors) {
        bytes += static_cast<char>(packedByte(c.r));
        bytes += static_cast<char>(packedByte(c.g));
        bytes += static_cast<char>(packedByte(c.b));
    }
    return bytes;
}

std::optional<ColorTable> unpackColorBytes(const QByteArray& bytes, QString* error) {
    if (bytes.size() != kPackedColorBytes) {
        if (error)
            *error = QStringLiteral("Expected %1 packed color bytes, got %2").arg(kPackedColorBytes).arg(bytes.size());
        return std::nullopt;
    }
    ColorTable colors(kPackedColorCount);
    const auto* u = reinterpret_cast<const unsigned char*>(bytes.constData());
    for (aColor& c : colors) {
        c = {u[0] / 255.0, u[1] / 255.0, u[2] / 255.0};
        u += 3;
    }
    return colors;
}

double bookmarkZoomFactor(const Bookmark& b) {
    const double width = b.xmax - b.xmin;
    return std::isnormal(width) && width > 0 ? 4.0 / width : 1.0;
}

bool hasDrawableBounds(const Bookmark& b) {
    const bool finite = std::isfinite(b.xmin) && std::isfinite(b.xmax) && std::isfinite(b.ymin) &&
                        std::isfinite(b.ymax);
    return finite && b.xmin < b.xmax && b.ymin < b.ymax && std::isfinite(4.0 / (b.xmax - b.xmin));
}

bool hasExplorableBounds(const Bookmark& b) {
    return hasDrawableBounds(b) && b.xmax - b.xmin <= kMaxViewExtent && b.ymax - b.ymin <= kMaxViewExtent;
}

ShadingTuning bookmarkTuning(const Bookmark& b) {
    return b.tuning && tuningKeepsColorsFinite(*b.tuning) ? *b.tuning : ShadingTuning{};
}

QByteArray encodeBookmark(const Bookmark& b) {
    JsonObjectWriter w;
    w.string("name", b.name)
        .number("xmin", b.xmin)
        .number("xmax", b.xmax)
        .number("ymin", b.ymin)
        .number("ymax", b.ymax)
        .raw("paletteColors", jsonString(QString::fromLatin1(packColorBytes(b.paletteColors.colors).toBase64())))
        .boolean("demEnabled", b.demEnabled)
        .boolean("reliefEnabled", b.reliefEnabled)
        .number("reliefLightRawX", b.reliefLightRawX)
        .number("reliefLightRawY", b.reliefLightRawY)
        .boolean("glowEnabled", b.glowEnabled)
        .boolean("trapsEnabled", b.trapsEnabled)
        .boolean("soundEnabled", b.soundEnabled);
    if (b.tuning) w.raw("tuning", encodeShadingTuning(*b.tuning));
    return w.finish();
}

QByteArray encodeBookmarks(const QList<Bookmark>& bookmarks) {
    QByteArray text = "[";
    for (const Bookmark& b : bookmarks) {
        const QByteArray record = encodeBookmark(b);
        if (record.isEmpty()) return {};
        if (text.size() > 1) text += ',';
        text += record;
    }
    return text + ']';
}

std::optional<Bookmark> bookmarkFromJson(const QJsonObject& o, QString* error) {
    RecordReader r(o, error);
    Bookmark b;
    b.name = r.string("name");
    b.xmin = r.number("xmin");
    b.xmax = r.number("xmax");
    b.ymin = r.number("ymin");
    b.ymax = r.number("ymax");
    const QString palette = r.string("paletteColors");
    b.demEnabled = r.boolean("demEnabled");
    b.reliefEnabled = r.boolean("reliefEnabled");
    b.reliefLightRawX = r.number("reliefLightRawX");
    b.reliefLightRawY = r.number("reliefLightRawY");
    b.glowEnabled = r.boolean("glowEnabled");
    b.trapsEnabled = r.boolean("trapsEnabled");
    b.soundEnabled = r.boolean("soundEnabled");
    readTuning(o, r, b);
    if (r.failed()) return std::nullopt;
    QString why;
    auto colors = decodePaletteColors(palette, &why);
    if (!colors) {
        r.fail(why);
        return std::nullopt;
    }
    b.paletteColors.colors = std::move(*colors);
    if (!hasDrawableBounds(b)) {
        r.fail(QStringLiteral("xmin, xmax, ymin, ymax do not make a view (xmin < xmax, ymin < ymax)"));
        return std::nullopt;
    }
    return b;
}

std::optional<Bookmark> decodeBookmark(const QByteArray& json, QString* error) {
    const auto o = parseJsonObject(json, error);
    return o ? bookmarkFromJson(*o, error) : std::nullopt;
}

std::optional<QList<Bookmark>> decodeBookmarks(const QByteArray& json, QString* error) {
    QJsonParseError parse{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parse);
    if (parse.error != QJsonParseError::NoError || !doc.isArray()) {
        if (error) *error = QStringLiteral("expected a JSON array of bookmarks");
        return std::nullopt;
    }
    QList<Bookmark> bookmarks;
    const QJsonArray records = doc.array();
    for (qsizetype i = 0; i < records.size(); ++i) {
        QString why;
        auto b = records[i].isObject() ? bookmarkFromJson(records[i].toObject(), &why) : std::nullopt;
        if (!b) {
            if (error) *error = QStringLiteral("bookmark %1: %2").arg(i + 1).arg(why.isEmpty() ? QStringLiteral("not an object") : why);
            return std::nullopt;
        }
        bookmarks.append(std::move(*b));
    }
    return bookmarks;
}

}  // namespace gs
