#include "share_link.h"

#include <QHash>
#include <QStringDecoder>
#include <QUrl>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "json_text.h"
#include "names.h"

namespace gs {
namespace {

constexpr char kScheme[] = "glimmerscape";
constexpr char kHost[] = "bookmark";
enum ModeBit : int { kDem = 1, kRelief = 2, kGlow = 4, kTraps = 8, kSound = 16 };

using Items = QHash<QString, QString>;

bool isAsciiHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool fail(QString* why, const QString& reason) {
    if (why) *why = reason;
    return false;
}

// %XX escapes decoded ("+" stays a plus sign); the bytes must then be UTF-8.
std::optional<QString> percentDecoded(const QByteArray& text) {
    const auto hexDigit = [&](qsizetype i) { return i < text.size() && isAsciiHexDigit(text[i]); };
    for (qsizetype i = text.indexOf('%'); i >= 0; i = text.indexOf('%', i + 1))
        if (!hexDigit(i + 1) || !hexDigit(i + 2)) return std::nullopt;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = utf8(QByteArray::fromPercentEncoding(text));
    if (utf8.hasError()) return std::nullopt;
    return decoded;
}

// The query's items; a key without "=" is skipped, a later key replaces an earlier one.
bool splitQuery(const QByteArray& query, Items& items, QString* why) {
    for (const QByteArray& item : query.split('&')) {
        const qsizetype eq = item.indexOf('=');
        if (eq < 0) continue;
        const auto key = percentDecoded(item.left(eq));
        const auto value = percentDecoded(item.mid(eq + 1));
        if (!key || !value) return fail(why, QStringLiteral("a query item is not percent-encoded UTF-8"));
        items.insert(*key, *value);
    }
    return true;
}

// Scheme (any case), then "//bookmark" exactly, then the query's items.
bool splitLink(const QByteArray& link, Items& items, QString* why) {
    const qsizetype colon = link.indexOf(':');
    if (colon < 0 || link.left(colon).toLower() != kScheme)
        return fail(why, QStringLiteral("not a glimmerscape: link"));
    const QByteArray rest = link.mid(colon + 1);
    qsizetype end = 2;
    while (end < rest.size() && rest[end] != '/' && rest[end] != '?' && rest[end] != '#') ++end;
    if (!rest.startsWith("//") || rest.mid(2, end - 2) != kHost)
        return fail(why, QStringLiteral("the link's host is not \"bookmark\""));
    const qsizetype question = rest.indexOf('?');
    const qsizetype hash = rest.indexOf('#');
    if (question < 0 || (hash >= 0 && hash < question)) return true;
    const QByteArray query = rest.mid(question + 1, hash < 0 ? -1 : hash - question - 1);
    return splitQuery(query, items, why);
}

// The text of a number as bytes, without one leading "+" (non-Latin-1 letters become "?",
// which no number holds).
QByteArray numberText(const QString& text) {
    QByteArray s = text.toLatin1();
    if (s.startsWith('+') && !s.startsWith("+-")) s.remove(0, 1);
    return s;
}

// Plain or exponent decimal text of a finite double ("-0.75", "1e-05", "+2").
std::optional<double> parseDouble(const QString& text) {
    const QByteArray s = numberText(text);
    double value = 0;
    const auto [end, ec] = std::from_chars(s.constData(), s.constData() + s.size(), value);
    if (ec != std::errc() || end != s.constData() + s.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

// A hexadecimal integer, optionally signed, that fits 64 bits ("1f", "1F", "-1").
std::optional<std::int64_t> parseHex(const QString& text) {
    const QByteArray s = numberText(text);
    std::int64_t value = 0;
    const auto [end, ec] = std::from_chars(s.constData(), s.constData() + s.size(), value, 16);
    if (ec != std::errc() || end != s.constData() + s.size()) return std::nullopt;
    return value;
}

// URL-safe base64 with its padding restored, decoded and unpacked.
std::optional<ColorTable> readPalette(const QString& pal, QString* why) {
    QByteArray text = pal.toLatin1();
    text.replace('-', '+').replace('_', '/');
    while (text.size() % 4 != 0) text += '=';
    const auto bytes = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (!bytes) return std::nullopt;
    return unpackColorBytes(*bytes, why);
}

bool readNumber(const Items& items, const char* key, double& out, QString* why) {
    const auto it = items.constFind(QLatin1String(key));
    if (it == items.cend()) return fail(why, QStringLiteral("the link has no \"%1\"").arg(key));
    const auto value = parseDouble(*it);
    if (!value) return fail(why, QStringLiteral("\"%1\" is not a number: %2").arg(key, *it));
    out = *value;
    return true;
}

bool readVersion(const Items& items, QString* why) {
    const auto version = items.constFind(QStringLiteral("v"));
    if (version == items.cend()) return fail(why, QStringLiteral("the link has no \"v\""));
    if (*version != QLatin1String("1"))
        return fail(why, QStringLiteral("link version \"%1\" is not supported").arg(*version));
    return true;
}

bool readView(const Items& items, Bookmark& b, QString* why) {
    if (!readNumber(items, "xmin", b.xmin, why) || !readNumber(items, "xmax", b.xmax, why) ||
        !readNumber(items, "ymin", b.ymin, why) || !readNumber(items, "ymax", b.ymax, why))
        return false;
    if (!hasDrawableBounds(b))
        return fail(why, QStringLiteral("the link's edges do not make a view (xmin < xmax, ymin < ymax)"));
    return true;
}

bool readColors(const Items& items, Bookmark& b, QString* why) {
    const auto pal = items.constFind(QStringLiteral("pal"));
    if (pal == items.cend()) return fail(why, QStringLiteral("the link has no \"pal\""));
    QString detail;
    auto colors = readPalette(*pal, &detail);
    if (!colors)
        return fail(why, QStringLiteral("\"pal\" is not 768 colour bytes in URL-safe base64") +
                             (detail.isEmpty() ? QString() : QStringLiteral(" (") + detail + u')'));
    b.paletteColors.colors = std::move(*colors);
    return true;
}

bool readModes(const Items& items, Bookmark& b, QString* why) {
    const auto modes = items.constFind(QStringLiteral("modes"));
    if (modes == items.cend()) return fail(why, QStringLiteral("the link has no \"modes\""));
    const auto bits = parseHex(*modes);
    if (!bits) return fail(why, QStringLiteral("\"modes\" is not a hexadecimal number: ") + *modes);
    b.demEnabled = (*bits & kDem) != 0;
    b.reliefEnabled = (*bits & kRelief) != 0;
    b.glowEnabled = (*bits & kGlow) != 0;
    b.trapsEnabled = (*bits & kTraps) != 0;
    b.soundEnabled = (*bits & kSound) != 0;
    return true;
}

QString readName(const Items& items) {
    const QString name = trimBlanks(items.value(QStringLiteral("name")));
    return name.isEmpty() ? kLinkDefaultName : name;
}

std::optional<QByteArray> linkPalette(const ColorTable& colors) {
    if (colors.size() != static_cast<std::size_t>(kPackedColorCount)) return std::nullopt;
    QByteArray text = packColorBytes(colors).toBase64();
    text.replace('+', '-').replace('/', '_');
    while (text.endsWith('=')) text.chop(1);
    return text;
}

int modeBits(const Bookmark& b) {
    return (b.demEnabled ? kDem : 0) | (b.reliefEnabled ? kRelief : 0) | (b.glowEnabled ? kGlow : 0) |
           (b.trapsEnabled ? kTraps : 0) | (b.soundEnabled ? kSound : 0);
}

}  // namespace

std::optional<QString> makeLink(const Bookmark& b) {
    const auto pal = linkPalette(b.paletteColors.colors);
    if (!pal || !hasDrawableBounds(b) || !std::isfinite(b.reliefLightRawX) || !std::isfinite(b.reliefLightRawY))
        return std::nullopt;
    QByteArray link = QByteArray(kScheme) + "://" + kHost + "?v=1";
    const auto add = [&](const char* key, const QByteArray& value) {
        link += '&';
        link += key;
        link += '=';
        link += QUrl::toPercentEncoding(QString::fromUtf8(value));
    };
    add("xmin", shortestDecimal(b.xmin));
    add("xmax", shortestDecimal(b.xmax));
    add("ymin", shortestDecimal(b.ymin));
    add("ymax", shortestDecimal(b.ymax));
    add("pal", *pal);
    add("name", b.name.toUtf8());
    add("modes", QByteArray::number(modeBits(b), 16));
    add("lx", shortestDecimal(b.reliefLightRawX));
    add("ly", shortestDecimal(b.reliefLightRawY));
    return QString::fromLatin1(link);
}

std::optional<Bookmark> readLink(const QString& link, QString* why) {
    Items items;
    if (!splitLink(link.trimmed().toUtf8(), items, why)) return std::nullopt;
    Bookmark b;
    if (!readVersion(items, why) || !readView(items, b, why) || !readColors(items, b, why) || !readModes(items, b, why) ||
        !readNumber(items, "lx", b.reliefLightRawX, why) || !readNumber(items, "ly", b.reliefLightRawY, why))
        return std::nullopt;
    b.name = readName(items);
    return b;
}

}  // namespace gs
