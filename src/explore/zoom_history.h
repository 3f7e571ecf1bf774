// The viewport of the main picture with its back and forward zoom history.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "core/budget.h"

namespace gs {

// A selection box on the fractal view, in fractions of the view: the centre (anchorX, anchorY)
// runs from 0 at the left/top edge to 1 at the right/bottom edge; the box is `box` times the
// view's width wide and `box` times its height tall, so it keeps the view's proportions.
struct SelectionBox {
    double anchorX = 0, anchorY = 0, box = 0;
    friend bool operator==(const SelectionBox&, const SelectionBox&) = default;
};

// One history entry: the view that was left and, when known, the box through which it was left.
struct ZoomBounds {
    double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
    std::optional<SelectionBox> selection;

    Viewport view() const { return {xmin, xmax, ymin, ymax}; }
    friend bool operator==(const ZoomBounds&, const ZoomBounds&) = default;
};

enum class ZoomOutcome {
    ignored,         // empty rectangle or buffer: nothing happens
    refusedAtLimit,  // the new view would reach the zoom limit: show the message, change nothing
    zoomed,          // new bounds set: clear the selection and render
};

// The result of Back or Forward.
struct HistoryMove {
    bool moved = false;  // false: the stack was empty and nothing changed
    // The box to show again on the fractal view (if it is big enough there); absent: clear the
    // view's selection.
    std::optional<SelectionBox> restore;
};

// The current bounds, the back stack (newest last, at most 100 entries), the forward stack
// (newest last, unbounded) and the box leading from the current view to the deeper one the user
// came back from. Every operation that changes the bounds asks the caller to forget the shown
// bookmark name and to render.
class ZoomHistory {
public:
    static constexpr std::size_t kMaxBackEntries = 100;

    const Viewport& current() const { return current_; }
    const std::vector<ZoomBounds>& backStack() const { return back_; }
    const std::vector<ZoomBounds>& forwardStack() const { return forward_; }
    const std::optional<SelectionBox>& outgoingSelection() const { return outgoing_; }

    // Zooms into the rectangle (rx, ry, rw, rh) given in pixels of a bufferW x bufferH picture
    // (row 0 at the top). `selection` is the fractal view's box, recorded in the back entry.
    ZoomOutcome zoomIntoRect(double rx, double ry, double rw, double rh, int bufferW, int bufferH,
                             const std::optional<SelectionBox>& selection);

    // Walks one entry back or forward; the entry left behind keeps the outgoing selection.
    HistoryMove back();
    HistoryMove forward();

    // Returns to the home view, undoably. False (nothing changed at all) when the current view
    // is exactly the home view; otherwise the caller clears the view's selection and renders.
    bool resetView();

    // Home view, both stacks and the outgoing selection emptied; no way back.
    void resetAll();

    // Records the current view with no selection, empties the forward stack and forgets the
    // outgoing selection: the history half of an auto-explore step, before setBounds.
    void pushNoSelection();

    // Forgets the box leading to a deeper view (auto-explore switching on).
    void clearOutgoingSelection() { outgoing_.reset(); }

    // Replaces the bounds without touching the history (an auto-explore step, a view set directly).
    void setBounds(const Viewport& v) { current_ = v; }

private:
    ZoomBounds entryForCurrent() const;
    void push(ZoomBounds entry);
    HistoryMove moveTo(const ZoomBounds& target);

    Viewport current_ = kHomeView;
    std::vector<ZoomBounds> back_;
    std::vector<ZoomBounds> forward_;
    std::optional<SelectionBox> outgoing_;
};

}  // namespace gs
