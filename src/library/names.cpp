#include "names.h"

#include <QCollator>
#include <QLocale>

namespace gs {

bool localizedStandardLess(const QString& a, const QString& b) {
    // QCollator is not thread-safe to share; one per thread keeps sorting cheap.
    // Qt compares plain code points in the C locale; the root order is the better guess there.
    thread_local QCollator collator = [] {
        QLocale locale;
        if (locale.language() == QLocale::C) locale = QLocale(QLocale::English, QLocale::UnitedStates);
        QCollator c(locale);
        c.setCaseSensitivity(Qt::CaseInsensitive);
        c.setNumericMode(true);
        return c;
    }();
    return collator.compare(a, b) < 0;
}

QString uniqueName(const QString& proposed, const std::function<bool(const QString&)>& taken) {
    if (!taken(proposed)) return proposed;
    for (qint64 n = 1;; ++n) {
        const QString candidate = QStringLiteral("%1 (%2)").arg(proposed).arg(n);
        if (!taken(candidate)) return candidate;
    }
}

}  // namespace gs

namespace gs {

QString trimBlanks(const QString& text) {
    const auto blank = [](QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; };
    qsizetype begin = 0, end = text.size();
    while (begin < end && blank(text[begin])) ++begin;
    while (end > begin && blank(text[end - 1])) --end;
    return text.mid(begin, end - begin);
}

}  // namespace gs
