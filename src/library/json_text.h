// Compact JSON text written in a chosen key order, and the decimal form of a double used in
// every file and link: the shortest text that reads back to exactly the same double.
#pragma once

#include <QByteArray>
#include <QString>

namespace gs {

// "-0.75", "0.5", "1e-05", "1": never depends on the locale. Non-finite values give "nan",
// "inf" or "-inf", which no reader of ours accepts.
QByteArray shortestDecimal(double value);

// Builds one JSON object, keys in the order they are added, no white space. JSON has no
// non-finite numbers: adding one makes the whole object fail (finish returns an empty array).
class JsonObjectWriter {
public:
    JsonObjectWriter& number(const char* key, double value);
    JsonObjectWriter& boolean(const char* key, bool value);
    JsonObjectWriter& string(const char* key, const QString& value);
    JsonObjectWriter& raw(const char* key, const QByteArray& json);  // already JSON text
    // The object's UTF-8 text; empty when a number was not finite.
    QByteArray finish();

private:
    void key(const char* name);
    QByteArray text_ = "{";
    bool failed_ = false;
};

// A JSON string literal (quotes included) of the text, in UTF-8.
QByteArray jsonString(const QString& text);

}  // namespace gs
