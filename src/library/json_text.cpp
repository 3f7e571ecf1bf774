#include "json_text.h"

#include <charconv>
#include <cmath>

namespace gs {

QByteArray shortestDecimal(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QByteArray(buffer, static_cast<qsizetype>(result.ptr - buffer));
}

QByteArray jsonString(const QString& text) {
    static const char* const kHex = "0123456789abcdef";
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    out.reserve(utf8.size() + 2);
    out += '"';
    for (const char c : utf8) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (u < 0x20) {
            out += "\\u00";
            out += kHex[u >> 4];
            out += kHex[u & 15];
        } else {
            out += c;
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
