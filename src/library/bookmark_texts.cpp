#include "bookmark_texts.h"

#include "core/budget.h"

namespace gs::bookmark_texts {
namespace {

QString zoomString(double zoomLevel) { return QString::fromStdString(zoomText(zoomLevel)); }

QString quoted(const QString& name) { return u'“' + name + u'”'; }

}  // namespace

QString currentName(const std::optional<QString>& currentBookmarkName) {
    if (!currentBookmarkName || currentBookmarkName->isEmpty()) return QStringLiteral("Unsaved Location");
    return *currentBookmarkName;
}

QString sidebarStatus(const std::optional<QString>& currentBookmarkName, double zoomLevel) {
    return currentName(currentBookmarkName) + u'\n' + zoomString(zoomLevel);
}

QString fullScreenStatus(const std::optional<QString>& currentBookmarkName, double zoomLevel) {
    return QStringLiteral("CURRENTLY VIEWING: ") + currentName(currentBookmarkName) + QStringLiteral("  (") +
           zoomString(zoomLevel) + u')';
}

QString duplicateProposal(const QString& name) { return name + QStringLiteral(" copy"); }

QString nameTakenMessage(const QString& name) {
    return QStringLiteral("A bookmark named ") + quoted(name) + QStringLiteral(" already exists.");
}

QString deleteTitle(const QString& name) { return QStringLiteral("Delete ") + quoted(name) + u'?'; }

QString addMessage(const QString& uniqueName) {
    return QStringLiteral("Save ") + quoted(uniqueName) + QStringLiteral(" to My Bookmarks.");
}

}  // namespace gs::bookmark_texts
