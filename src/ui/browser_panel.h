// A browser of saved things (bookmarks, palettes): a drawer over the right edge of the picture
// with a title, titled sections of entries, a note for an empty collection, a row of actions at
// the foot and an overlay of explanations. Each entry shows a preview (a thumbnail, or the
// palette as a strip of its colours), its name and a line of detail.
//
// Keyboard: the arrows move between entries, Enter or Space applies the current one, the Menu
// key or Shift+F10 opens its context menu, Tab reaches the actions. The owner registers the
// panel's Escape commands (closing the explanations first, then the panel).
#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

class QLabel;
class QListWidget;
class QListWidgetItem;
class QVBoxLayout;

namespace gs {

class BracketActionControl;

struct BrowserEntry {
    QString name;
    QString detail;               // a second, dimmer line (the zoom, "Built-in", …)
    std::vector<QColor> strip;    // the palette as a strip, when there is no thumbnail
    QImage thumbnail;             // drawn instead of the strip when set
};

struct BrowserSection {
    QString title;
    std::vector<BrowserEntry> entries;
};

class BrowserPanel : public QWidget {
    Q_OBJECT

public:
    static constexpr int kWidth = 320;
    static constexpr int kPreviewWidth = 72, kPreviewHeight = 40;

    // Lives over the right edge of `host` (it follows the host's size) and starts closed.
    BrowserPanel(const QString& title, QWidget* host);

    // Replaces the list; the current entry stays on the same (section, row) when it still exists.
    void setSections(const std::vector<BrowserSection>& sections);
    // A note shown above the list (the empty-collection text); empty hides it.
    void setNote(const QString& note);
    // The text of the explanations overlay (plain text, paragraphs separated by blank lines).
    void setExplanations(const QString& text);
    // A new thumbnail for one entry, e.g. when it was rendered off the GUI thread.
    void setThumbnail(int section, int row, const QImage& thumbnail);
    // An action at the foot of the panel.
    BracketActionControl* addAction(const QString& label, std::function<void()> run);

    void openPanel();   // shows it and gives the list the keyboard
    void closePanel();  // hides it (the explanations too)
    bool isOpen() const { return isVisible(); }
    void showExplanations();
    void hideExplanations();
    bool explanationsOpen() const;

    // The entry at (section, row) was applied: clicked, or Enter/Space on it.
    std::function<void(int section, int row)> onActivated;
    // Its context menu was asked for, at a global position.
    std::function<void(int section, int row, const QPoint& globalPos)> onContextMenu;
    // The panel closed (by its close button or closePanel).
    std::function<void()> onClosed;

    // The (section, row) of the current entry; (-1, -1) when none.
    std::pair<int, int> currentEntry() const;
    void setCurrentEntry(int section, int row);
    QListWidget* list() const { return list_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void followHost();
    QListWidgetItem* itemFor(int section, int row) const;
    std::pair<int, int> entryOf(const QListWidgetItem* item) const;
    void activate(QListWidgetItem* item);
    void requestMenu(QListWidgetItem* item, const QPoint& globalPos);
    void menuForCurrent();

    QWidget* host_;
    QLabel* title_;
    QLabel* note_;
    QListWidget* list_;
    QVBoxLayout* actions_;
    QWidget* explanations_;
    QLabel* explanationsText_;
};

}  // namespace gs
