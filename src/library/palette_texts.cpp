#include "palette_texts.h"

namespace gs::paletteTexts {
namespace {

const QString kCurlyOpen = QStringLiteral("“");
const QString kCurlyClose = QStringLiteral("”");

QString count(qsizetype n) { return QString::number(n); }

// "1 palette added to My Palettes." / "3 palettes added to My Palettes."
QString addedToMyPalettes(int imported) {
    return count(imported) + (imported == 1 ? QStringLiteral(" palette") : QStringLiteral(" palettes")) +
           QStringLiteral(" added to My Palettes.");
}

AlertText nameClash(const QString& title, const QString& name) {
    return {title, QStringLiteral("A palette named ") + kCurlyOpen + name + kCurlyClose +
                       QStringLiteral(" already exists.")};
}

}  // namespace

NamePrompt savePrompt() {
    return {QStringLiteral("Save Current Palette"), {}, QStringLiteral("Palette Name"),
            QStringLiteral("Save")};
}

NamePrompt duplicatePrompt(const QString& name) {
    return {QStringLiteral("Duplicate Palette"), name + QStringLiteral(" copy"), {},
            QStringLiteral("Duplicate")};
}

NamePrompt renamePrompt(const QString& name) {
    return {QStringLiteral("Rename Palette"), name, {}, QStringLiteral("Rename")};
}

std::optional<QString> enteredName(const QString& text) {
    const auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    qsizetype begin = 0, end = text.size();
    while (begin < end && blank(text[begin])) ++begin;
    while (end > begin && blank(text[end - 1])) --end;
    if (begin == end) return std::nullopt;
    return text.mid(begin, end - begin);
}

AlertText saveFailed() {
    return {QStringLiteral("Couldn't Save"),
            QStringLiteral("There was a problem saving this palette to disk. Check available "
                           "storage and try again.")};
}

AlertText duplicateClash(const QString& name) {
    return nameClash(QStringLiteral("Couldn't Duplicate"), name);
}

AlertText renameClash(const QString& name) {
    return nameClash(QStringLiteral("Couldn't Rename"), name);
}

AlertText deleteQuestion(const QString& name) {
    return {QStringLiteral("Delete ") + kCurlyOpen + name + kCurlyClose + QStringLiteral("?"),
            QStringLiteral("This can't be undone.")};
}

bool importNeedsQuestion(qsizetype pickedFiles) { return pickedFiles > kImportWithoutAsking; }

AlertText importQuestion(qsizetype pickedFiles) {
    return {QStringLiteral("Import ") + count(pickedFiles) + QStringLiteral(" Palettes?"),
            QStringLiteral("That's a lot of files at once — this will add up to ") +
                count(pickedFiles) +
                QStringLiteral(" entries to My Palettes and may take a moment.")};
}

AlertText importReport(int imported, int rejected) {
    const QString noneValid =
        QStringLiteral("None of those files are valid 256-color .map palettes.");
    if (rejected == 0) {
        if (imported == 0) return {QStringLiteral("Imported"), noneValid};
        return {QStringLiteral("Imported"), addedToMyPalettes(imported)};
    }
    const QString title = QStringLiteral("Imported ") + count(imported) + QStringLiteral(" of ") +
                          count(qsizetype(imported) + rejected);
    if (imported == 0) {
        return {title, rejected == 1
                           ? QStringLiteral("That file isn't a valid 256-color .map palette.")
                           : noneValid};
    }
    return {title, addedToMyPalettes(imported) + QLatin1Char(' ') + count(rejected) +
                       (rejected == 1 ? QStringLiteral(" wasn't") : QStringLiteral(" weren't")) +
                       QStringLiteral(" a valid 256-color .map file.")};
}

}  // namespace gs::paletteTexts
