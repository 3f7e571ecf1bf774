#include "json_text.h"

#include <charconv>
#include <cmath>

namespace gs {

QByteArray shortestDecimal(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QByteArray(buffer, static_cast<qsizetype>(result.ptr - buffer));
}

namespace {

void appendUtf8(QByteArray& out, char32_t c) {
    const auto byte = [&](char32_t b) { out += static_cast<char>(b); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xc0 | c >> 6);
        byte(0x80 | (c & 0x3f));
    } else if (c < 0x10000) {
        byte(0xe0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3f));
        byte(0x80 | (c & 0x3f));
    } else {
        byte(0xf0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3f));
        byte(0x80 | (c >> 6 & 0x3f));
        byte(0x80 | (c & 0x3f));
    }
}

void appendEscape(QByteArray& out, char16_t unit) {
    static const char* const kHex = "0123456789abcdef";
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kHex[unit >> shift & 15];
}

}  // namespace

// Control characters and unpaired surrogates are escaped, so every QString reads back as it was.
QByteArray jsonString(const QString& text) {
    QByteArray out;
    out.reserve(text.size() + 2);
    out += '"';
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            appendUtf8(out, QChar::surrogateToUcs4(c, text[++i]));
        } else if (c == u'"' || c == u'\\') {
            out += '\\';
            out += static_cast<char>(c.unicode());
        } else if (c.unicode() < 0x20 || c.isSurrogate()) {
            appendEscape(out, c.unicode());
        } else {
            appendUtf8(out, c.unicode());
        }
    }
    out += '"';
    return out;
}

void JsonObjectWriter::key(const char* name) {
    if (text_.size() > 1) text_ += ',';
    text_ += '"';
    text_ += name;
    text_ += "\":";
}

JsonObjectWriter& JsonObjectWriter::number(const char* name, double value) {
    if (!std::isfinite(value)) failed_ = true;
    key(name);
    text_ += shortestDecimal(value);
    return *this;
}

JsonObjectWriter& JsonObjectWriter::boolean(const char* name, bool value) {
    key(name);
    text_ += value ? "true" : "false";
    return *this;
}

JsonObjectWriter& JsonObjectWriter::string(const char* name, const QString& value) {
    key(name);
    text_ += jsonString(value);
    return *this;
}

JsonObjectWriter& JsonObjectWriter::raw(const char* name, const QByteArray& json) {
    if (json.isEmpty()) failed_ = true;
    key(name);
    text_ += json;
    return *this;
}

QByteArray JsonObjectWriter::finish() {
    if (failed_) return {};
    return text_ + '}';
}

}  // namespace gs
