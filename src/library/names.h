// Name rules shared by the bookmark and palette stores: the localized standard order in which
// both list their entries, and the numbered form a taken name gets.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace gs {

// The order a file browser uses: case-insensitive, runs of digits compared as numbers, in the
// user's locale ("spot 2" < "Spot 9" < "Spot 10").
bool localizedStandardLess(const QString& a, const QString& b);

// `proposed` when it is not taken, else the first of "proposed (1)", "proposed (2)", … that is
// not. The counter starts at 1.
QString uniqueName(const QString& proposed, const std::function<bool(const QString&)>& taken);

}  // namespace gs

namespace gs {

// The text without blanks (spaces of any width and tabs) at either end; line breaks are kept.
QString trimBlanks(const QString& text);

}  // namespace gs
