// Named palettes kept as ".map" files: the user's folder and the palettes shipped with the
// program. Every operation runs on the GUI thread, one caller at a time.
#pragma once

#include <QList>
#include <QString>
#include <optional>
#include <vector>

#include "core/palette.h"

namespace gs {

struct SavedPalette {
    QString name;            // the file's name without its extension
    ColorTable colors;       // 256 entries when read from a file
    bool isBuiltIn = false;  // shipped with the program: cannot be renamed or deleted
    QString filePath;        // the file it lives in (a ":/" resource path for built-ins)
};

// How a duplicate or rename ended. `nameTaken` (a palette file of the new name exists) is kept
// apart from `failed` (the disk refused) because the two get different alerts.
enum class PaletteChange { done, nameTaken, failed };

class PaletteLibrary {
public:
    // The program's store: the folder "Palettes" under the per-user data location
    // (~/.local/share/glimmerscape/Palettes) and the built-ins compiled in as ":/BuiltInPalettes".
    static PaletteLibrary& shared();

    // A store over any two folders; the user folder is created on first use.
    PaletteLibrary(QString userPalettesDirectory, QString builtInPalettesDirectory);

    // The user's folder, created with its parents when missing.
    const QString& userPalettesDirectory();

    // The name with / \ : * ? " < > | each replaced by "-", blanks and line breaks trimmed from
    // both ends; "Untitled" when nothing is left.
    static QString safeFileName(const QString& name);
    // Where a user palette of that name is stored: the folder, the safe name, ".map".
    QString filePath(const QString& name);
    // The safe name when no "<safe name>.map" exists yet, else "<safe name> (1)", "(2)", …
    QString uniqueFileName(const QString& name);

    // Writes the colours (256) atomically as "<safe name>.map", replacing a file of that name.
    // Empty on a write error.
    std::optional<SavedPalette> save(const QString& name, const ColorTable& colors);

    // Every readable, valid ".map" file of the user's folder (hidden ones too, the extension
    // compared lower-cased) in the order of a file browser; anything else is skipped.
    QList<SavedPalette> loadUserPalettes();
    // The same for the built-in folder, marked `isBuiltIn`.
    QList<SavedPalette> loadBuiltInPalettes() const;

    // Saves the palette's colours under a new name, refusing a name whose file exists.
    PaletteChange duplicate(const SavedPalette& palette, const QString& newName,
                            SavedPalette* copy = nullptr);
    // Moves a user palette's file to the new name, refusing a name whose file exists.
    PaletteChange rename(const SavedPalette& palette, const QString& newName,
                         SavedPalette* renamed = nullptr);
    // Removes a user palette's file. False for built-ins and when the file cannot be removed.
    bool remove(const SavedPalette& palette);

    // A real file holding the palette, for handing to other programs: the user's own file, or a
    // copy of a built-in written to the temporary folder. Empty when that copy cannot be made.
    std::optional<QString> shareableFilePath(const SavedPalette& palette) const;

private:
    bool nameTaken(const QString& safeName);
    QString existingFile(const SavedPalette& palette);

    QString userDirectory_;
    QString builtInDirectory_;
    bool userDirectoryReady_ = false;
};

// One titled group of the palette browser.
struct PaletteSection {
    QString title;
    QList<SavedPalette> palettes;
};

// The browser's sections: "Mine" with the user's palettes when there is at least one, then
// "Built-in" (always, even when empty).
std::vector<PaletteSection> paletteSections(const QList<SavedPalette>& user,
                                            const QList<SavedPalette>& builtIn);
// The note above the list: the empty-collection text while the user has no palettes.
QString paletteBrowserNote(const QList<SavedPalette>& user);

// Reads a ".map" file of at most a few megabytes; empty when it cannot be read or is not a
// valid 256-colour palette.
std::optional<ColorTable> readPaletteFile(const QString& path);

}  // namespace gs
