// The zoom selection box drawn with a pinch on the fractal view, without the view itself.
#pragma once

#include <optional>

#include "explore/zoom_history.h"

namespace gs {

// A rectangle: origin at the top-left, y downwards.
struct RectF {
    double x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const RectF&, const RectF&) = default;
};

// What a single click did.
struct ClickResult {
    bool dismissed = false;  // a selection was shown and is gone: redraw and notify
    // The box in picture pixels when the click fell inside it: zoom into it.
    std::optional<RectF> zoomRequest;
};

// Selection state of the fractal view. Positions and sizes are in view points unless said
// otherwise; the view's size is passed in because the box is stored as fractions of it.
class PinchSelection {
public:
    static constexpr double kMinSelectionSize = 12.0;  // points; smaller finished boxes vanish
    static constexpr double kPinchBaseBoxFraction = 0.12;  // box fraction at pinch scale 1

    double anchorX() const { return fractions_.anchorX; }  // 0 left .. 1 right
    double anchorY() const { return fractions_.anchorY; }  // 0 top .. 1 bottom
    double boxFraction() const { return fractions_.box; }
    bool isSizing() const { return sizing_; }
    bool hasSelection() const { return hasSelection_; }
    // Anchor and box fraction as recorded in a history entry.
    const SelectionBox& fractions() const { return fractions_; }

    // The box in points, centred on the anchor and clipped to the viewW x viewH view; it is
    // therefore smaller and off-centre near an edge. A negative box fraction counts as 0.
    RectF rect(double viewW, double viewH) const;
    // The box to draw (and report through the selection-changed notification), or absent when
    // neither sizing nor a finished selection is shown.
    std::optional<RectF> shownRect(double viewW, double viewH) const;

    // Pinch states. (x, y) is the pinch location in points, scale the pinch's scale (1 at the
    // start). Each is followed by a redraw with notification.
    void pinchBegan(double x, double y, double scale, double viewW, double viewH);
    void pinchChanged(double scale);
    void pinchEnded(double scale, double viewW, double viewH);  // also for a cancelled pinch

    // A single click at (x, y). Inside the shown box it asks for a zoom into the box converted
    // to pixels (points times deviceScale); inside or not, a shown selection is then dismissed.
    // Without a selection nothing happens.
    ClickResult click(double x, double y, double viewW, double viewH, double deviceScale);

    // Hides the box; true if sizing or a selection was shown (the layer needs a redraw).
    bool clear();

    // Shows a box from history again (not sizing); it counts as shown only if it measures at
    // least 12 x 12 points in the current view size.
    void restoreFromHistory(const SelectionBox& box, double viewW, double viewH);

private:
    bool bigEnough(double viewW, double viewH) const;

    SelectionBox fractions_;
    bool sizing_ = false;
    bool hasSelection_ = false;
};

}  // namespace gs
