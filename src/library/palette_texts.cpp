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

AlertText duplicateFailed() { return {QStringLiteral("Couldn't Duplicate"), saveFailed().message}; }

AlertText renameFailed() {
    return {QStringLiteral("Couldn't Rename"),
            QStringLiteral("There was a problem renaming this palette's file. Check that its "
                           "folder can be written to and try again.")};
}

AlertText deleteFailed() {
    return {QStringLiteral("Couldn't Delete"),
            QStringLiteral("There was a problem deleting this palette's file. Check that its "
                           "folder can be written to and try again.")};
}

AlertText shareFailed() {
    return {QStringLiteral("Couldn't Share"),
            QStringLiteral("There was a problem making a copy of this palette to share. Check "
                           "available storage and try again.")};
}

QString sharedNotice(const QString& fileName) {
    return kCurlyOpen + fileName + kCurlyClose +
           QStringLiteral(" is on the clipboard — paste the file into a folder or a message, or "
                          "its path as text.");
}

QString browserExplanations(const QString& userFolder) {
    return QStringLiteral(
               "Palettes are plain text files in the .map format that Fractint made popular: "
               "256 lines, one colour each, written as red, green and blue from 0 to 255. "
               "Other fractal programs that read .map files can use yours, and theirs come in "
               "here with Import Local….\n\n"
               "Click a palette (or press Enter) to colour the picture with it; the browser "
               "stays open so you can flip through them. Save Current… keeps the palette on "
               "screen under a name of your choice; saving under a name you already use "
               "replaces that palette.\n\n"
               "Your palettes are kept one file each in\n") +
           userFolder +
           QStringLiteral(
               "\nYou can back them up, copy them or edit them there; the browser lists every "
               "valid .map file it finds.\n\n"
               "To share a palette, right-click it (or press the Menu key) and choose Share…: "
               "the file goes on the clipboard, ready to paste into a folder, a mail or a "
               "chat. Online Library… brings in more palettes from the Glimmerscape library.");
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
