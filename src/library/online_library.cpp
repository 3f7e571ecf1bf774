#include "online_library.h"

#include <QStringDecoder>

#include "core/mapfile.h"
#include "library/bookmark_library.h"
#include "library/names.h"
#include "library/online_library_texts.h"
#include "library/palette_library.h"

namespace gs {

template <class Kind>
OnlineLibrary<Kind>::OnlineLibrary(std::optional<QUrl> baseUrl, StoreStep store,
                                   OnlineLibraryLimits limits)
    : baseUrl_(std::move(baseUrl)), store_(std::move(store)), limits_(limits) {}

template <class Kind>
OnlineLibrary<Kind>::~OnlineLibrary() {
    manifestRequest_.cancel();
    if (batch_)
        for (LibraryRequest& request : batch_->requests) request.cancel();
}

template <class Kind>
void OnlineLibrary<Kind>::changed() const {
    if (onChanged) onChanged();
}

template <class Kind>
void OnlineLibrary<Kind>::load() {
    manifestRequest_.cancel();
    loadState_ = LoadState::loading();
    changed();
    // Without a usable address the empty URL fails through the event loop like any other.
    const QUrl url = baseUrl_ ? libraryManifestUrl(*baseUrl_) : QUrl();
    manifestRequest_ = fetchLibraryFile(url, limits_.manifest, &context_,
                                        [this](auto body) { manifestArrived(body); });
}

template <class Kind>
void OnlineLibrary<Kind>::manifestArrived(const std::optional<QByteArray>& body) {
    manifestRequest_ = {};
    auto manifest = body ? Kind::decode(*body) : std::nullopt;
    if (!manifest) {
        loadState_ = LoadState::failed(onlineLibraryTexts::unreachable);
    } else {
        collections_ = std::move(manifest->collections);
        buildSections();
        loadState_ = LoadState::loaded();
    }
    changed();
}

template <class Kind>
void OnlineLibrary<Kind>::buildSections() {
    sections_.clear();
    sections_.reserve(static_cast<std::size_t>(collections_.size()));
    for (const Collection& collection : collections_) {
        std::vector<DisplayItem> items;
        for (const Entry& entry : Kind::entries(collection))
            items.push_back(Kind::item(collection, entry));
        sections_.push_back(std::move(items));
    }
}

template <class Kind>
QString OnlineLibrary<Kind>::key(const Collection& collection, const Entry& entry) {
    return collection.id + QLatin1Char('/') + entry.file;
}

template <class Kind>
void OnlineLibrary<Kind>::toggleSelection(const DisplayItem& item) {
    const QString k = key(item);
    if (!selectedKeys_.remove(k)) selectedKeys_.insert(k);
    changed();
}

template <class Kind>
QString OnlineLibrary<Kind>::selectionText() const {
    return onlineLibraryTexts::selectedCount(selectedKeys_.size());
}

template <class Kind>
void OnlineLibrary<Kind>::importSelected() {
    if (!canImport()) return;
    std::vector<const DisplayItem*> chosen;
    for (const auto& section : sections_)
        for (const DisplayItem& item : section)
            if (selectedKeys_.contains(key(item))) chosen.push_back(&item);
    if (chosen.empty()) return;  // the selected keys are not in this manifest
    isImporting_ = true;
    batch_.emplace();
    batch_->outstanding = static_cast<int>(chosen.size());
    for (const DisplayItem* item : chosen) {
        const QUrl url = baseUrl_ ? libraryEntryUrl(*baseUrl_, item->collection.path, item->entry.file)
                                  : QUrl();
        batch_->requests.push_back(fetchLibraryFile(
            url, limits_.entry, &context_,
            [this, entry = item->entry](auto body) { entryArrived(entry, body); }));
    }
    changed();
}

template <class Kind>
void OnlineLibrary<Kind>::entryArrived(const Entry& entry, const std::optional<QByteArray>& body) {
    if (!batch_) return;
    if (body && store_ && store_(*body, entry))
        ++batch_->imported;
    else
        ++batch_->failed;
    if (--batch_->outstanding == 0) finishImport();
}

template <class Kind>
void OnlineLibrary<Kind>::finishImport() {
    const ImportBatch batch = std::move(*batch_);
    batch_.reset();
    isImporting_ = false;
    totalImportedThisVisit_ += batch.imported;
    selectedKeys_.clear();
    changed();
    if (onImportFinished)
        onImportFinished(onlineLibraryTexts::importReport(Kind::kind, batch.imported, batch.failed));
}

template <class Kind>
void OnlineLibrary<Kind>::close() {
    manifestRequest_.cancel();
    if (batch_) {
        for (LibraryRequest& request : batch_->requests) request.cancel();
        totalImportedThisVisit_ += batch_->imported;
        batch_.reset();
        isImporting_ = false;
    }
    if (onFinishedImporting) onFinishedImporting(totalImportedThisVisit_);
}

template <class Kind>
QString OnlineLibrary<Kind>::statusText() const {
    if (loadState_.phase == LoadState::Phase::failed) return loadState_.message;
    if (loadState_.phase == LoadState::Phase::loading) return {};
    for (const auto& section : sections_)
        if (!section.empty()) return {};
    return onlineLibraryTexts::empty;
}

template <class Kind>
QString OnlineLibrary<Kind>::creditLine() const {
    QStringList credits;
    for (const Collection& collection : collections_)
        if (collection.credit) credits.append(*collection.credit);
    return credits.join(onlineLibraryTexts::creditSeparator);
}

template class OnlineLibrary<PaletteLibraryKind>;
template class OnlineLibrary<BookmarkLibraryKind>;

OnlinePaletteLibrary::StoreStep paletteStoreStep(PaletteLibrary& library) {
    return [&library](const QByteArray& body, const RemotePaletteEntry& entry) {
        // A library's files are UTF-8; anything else is a broken download, not Latin-1.
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8.decode(body);
        if (utf8.hasError()) return false;
        const MapParseResult parsed = parseMap(std::string_view(body.constData(), body.size()));
        return parsed.colors &&
               library.save(library.uniqueFileName(entry.name), *parsed.colors).has_value();
    };
}

OnlineBookmarkLibrary::StoreStep bookmarkStoreStep(BookmarkLibrary& library) {
    return [&library](const QByteArray& body, const RemoteBookmarkEntry& entry) {
        std::optional<Bookmark> bookmark = decodeBookmark(body);
        if (!bookmark) return false;
        QString name = trimBlanks(entry.name);
        if (name.isEmpty()) name = trimBlanks(bookmark->name);
        if (name.isEmpty()) return false;
        bookmark->name = library.uniqueName(name);
        return library.add(*bookmark);
    };
}

std::unique_ptr<OnlinePaletteLibrary> makeOnlinePaletteLibrary(PaletteLibrary& library) {
    const auto origin = configuredLibraryOrigin();
    return std::make_unique<OnlinePaletteLibrary>(
        origin ? std::optional(libraryBaseUrl(*origin, LibraryKind::palettes)) : std::nullopt,
        paletteStoreStep(library));
}

std::unique_ptr<OnlineBookmarkLibrary> makeOnlineBookmarkLibrary(
    OnlineBookmarkLibrary::StoreStep store) {
    const auto origin = configuredLibraryOrigin();
    return std::make_unique<OnlineBookmarkLibrary>(
        origin ? std::optional(libraryBaseUrl(*origin, LibraryKind::bookmarks)) : std::nullopt,
        std::move(store));
}

}  // namespace gs
