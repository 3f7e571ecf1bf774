// The state and behaviour behind the two online library screens, without a window: loading a
// manifest, the sections of entries with their swatches, selection across collections, and
// importing the selection. The screens show what these models hold and call their operations;
// the models tell them about changes through the `on…` callbacks. GUI thread only.
//
// onChanged and onImportFinished run from inside the network's signal handlers: a screen may
// open an alert there, but must not destroy the model there (use deleteLater for its owner).
// A model serves one visit: make a new one each time a library screen opens.
#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "library/library_fetch.h"
#include "library/library_location.h"
#include "library/palette_texts.h"
#include "library/remote_manifest.h"

namespace gs {

class BookmarkLibrary;
class PaletteLibrary;

struct LoadState {
    enum class Phase { loading, loaded, failed };
    Phase phase = Phase::loading;
    QString message;  // why it failed

    static LoadState loading() { return {Phase::loading, {}}; }
    static LoadState loaded() { return {Phase::loaded, {}}; }
    static LoadState failed(QString message) { return {Phase::failed, std::move(message)}; }
    friend bool operator==(const LoadState&, const LoadState&) = default;
};

// What differs between the palette and the bookmark library: the manifest's types, how it is
// decoded, and the list under which a collection keeps its entries.
template <class M, class C, class E, LibraryKind K, std::optional<M> (*Decode)(const QByteArray&),
          QList<E> C::*List>
struct LibraryKindOf {
    using Manifest = M;
    using Collection = C;
    using Entry = E;
    struct DisplayItem {
        Collection collection;
        Entry entry;
        std::vector<aColor> preview;
    };
    static constexpr LibraryKind kind = K;
    static std::optional<Manifest> decode(const QByteArray& json) { return Decode(json); }
    static const QList<Entry>& entries(const Collection& c) { return c.*List; }
    static DisplayItem item(const Collection& c, const Entry& e) {
        return {c, e, swatchColors(e.swatch)};
    }
};

using PaletteLibraryKind =
    LibraryKindOf<RemotePaletteManifest, RemoteCollection, RemotePaletteEntry, LibraryKind::palettes,
                  decodeRemotePaletteManifest, &RemoteCollection::palettes>;
using BookmarkLibraryKind =
    LibraryKindOf<RemoteBookmarkManifest, RemoteBookmarkCollection, RemoteBookmarkEntry,
                  LibraryKind::bookmarks, decodeRemoteBookmarkManifest,
                  &RemoteBookmarkCollection::bookmarks>;

struct OnlineLibraryLimits {
    FetchLimits manifest = kManifestFetchLimits;
    FetchLimits entry = kEntryFetchLimits;
};

template <class Kind>
class OnlineLibrary {
public:
    using Collection = typename Kind::Collection;
    using Entry = typename Kind::Entry;
    using DisplayItem = typename Kind::DisplayItem;
    // Stores one downloaded entry file in the local store; true when it was added.
    using StoreStep = std::function<bool(const QByteArray& body, const Entry& entry)>;

    // A library at baseUrl (libraryBaseUrl of an origin); an empty one never loads and always
    // ends in the failed state, as an unreachable server does.
    OnlineLibrary(std::optional<QUrl> baseUrl, StoreStep store, OnlineLibraryLimits limits = {});
    ~OnlineLibrary();
    OnlineLibrary(const OnlineLibrary&) = delete;
    OnlineLibrary& operator=(const OnlineLibrary&) = delete;

    // Called on close with the number imported during this visit.
    std::function<void(int)> onFinishedImporting;
    // Called whenever what the screen shows changed: the load state, the sections, the
    // selection or the importing flag.
    std::function<void()> onChanged;
    // Called once at the end of each import with the alert to show.
    std::function<void(const AlertText&)> onImportFinished;

    // Loads the manifest (when the screen opens, and for "TRY AGAIN"). A load still under way
    // is abandoned.
    void load();
    void retry() { load(); }

    // "collection id/file"
    static QString key(const Collection& collection, const Entry& entry);
    static QString key(const DisplayItem& item) { return key(item.collection, item.entry); }
    void toggleSelection(const DisplayItem& item);
    bool isSelected(const DisplayItem& item) const { return selectedKeys_.contains(key(item)); }
    QString selectionText() const;  // "N SELECTED"
    bool canImport() const { return !isImporting_ && !selectedKeys_.isEmpty(); }

    // Downloads every selected entry at once and stores each through the store step as it
    // arrives. Does nothing while an import runs or when nothing is selected.
    void importSelected();

    // The screen closes: downloads still running are abandoned (what was stored stays stored)
    // and onFinishedImporting gets the visit's total.
    void close();

    const LoadState& loadState() const { return loadState_; }
    const QList<Collection>& collections() const { return collections_; }
    const std::vector<std::vector<DisplayItem>>& sections() const { return sections_; }
    const QSet<QString>& selectedKeys() const { return selectedKeys_; }
    bool isImporting() const { return isImporting_; }
    int totalImportedThisVisit() const { return totalImportedThisVisit_; }

    // The status line: the failure message, "This library is empty right now." for a loaded
    // library without entries, otherwise empty.
    QString statusText() const;
    // The collections' credits joined with " · ".
    QString creditLine() const;

private:
    struct ImportBatch {
        int imported = 0;
        int failed = 0;
        int outstanding = 0;
        std::vector<LibraryRequest> requests;
    };

    void manifestArrived(const std::optional<QByteArray>& body);
    void buildSections();
    void entryArrived(const Entry& entry, const std::optional<QByteArray>& body);
    void finishImport();
    void changed() const;

    std::optional<QUrl> baseUrl_;
    StoreStep store_;
    OnlineLibraryLimits limits_;
    QObject context_;  // owns the network handlers: they end with this object
    LibraryRequest manifestRequest_;
    std::optional<ImportBatch> batch_;

    LoadState loadState_;
    QList<Collection> collections_;
    std::vector<std::vector<DisplayItem>> sections_;
    QSet<QString> selectedKeys_;
    bool isImporting_ = false;
    int totalImportedThisVisit_ = 0;
};

using OnlinePaletteLibrary = OnlineLibrary<PaletteLibraryKind>;
using OnlineBookmarkLibrary = OnlineLibrary<BookmarkLibraryKind>;
extern template class OnlineLibrary<PaletteLibraryKind>;
extern template class OnlineLibrary<BookmarkLibraryKind>;

// Stores a downloaded ".map" body (UTF-8 text) in the palette store under the unique file name
// the entry's name gives.
OnlinePaletteLibrary::StoreStep paletteStoreStep(PaletteLibrary& library);

// Stores a downloaded bookmark (one JSON object) in the bookmark file, named after the entry
// (or, when the entry's name is blank, the record's own) and numbered when a user bookmark has
// that name already.
OnlineBookmarkLibrary::StoreStep bookmarkStoreStep(BookmarkLibrary& library);

// The libraries at the configured origin.
std::unique_ptr<OnlinePaletteLibrary> makeOnlinePaletteLibrary(PaletteLibrary& library);
std::unique_ptr<OnlineBookmarkLibrary> makeOnlineBookmarkLibrary(
    OnlineBookmarkLibrary::StoreStep store);

}  // namespace gs
