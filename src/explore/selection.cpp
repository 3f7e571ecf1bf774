#include "selection.h"

#include <algorithm>

namespace gs {
namespace {

// Half-open on the far edges, as the platform's rectangles are.
bool contains(const RectF& r, double x, double y) {
    return x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height;
}

RectF scaled(const RectF& r, double s) { return {r.x * s, r.y * s, r.width * s, r.height * s}; }

}  // namespace

RectF PinchSelection::rect(double viewW, double viewH) const {
    const double s = std::max(fractions_.box, 0.0);
    const double cx = fractions_.anchorX * viewW;
    const double cy = fractions_.anchorY * viewH;
    const double hw = s * viewW / 2;
    const double hh = s * viewH / 2;
    const double left = std::max(cx - hw, 0.0);
    const double top = std::max(cy - hh, 0.0);
    const double width = std::max(std::min(cx + hw, viewW) - left, 0.0);
    const double height = std::max(std::min(cy + hh, viewH) - top, 0.0);
    return {left, top, width, height};
}

std::optional<RectF> PinchSelection::shownRect(double viewW, double viewH) const {
    if (!sizing_ && !hasSelection_) return std::nullopt;
    return rect(viewW, viewH);
}

void PinchSelection::pinchBegan(double x, double y, double scale, double viewW, double viewH) {
    const bool sized = viewW > 0 && viewH > 0;
    fractions_.anchorX = sized ? x / viewW : 0.0;
    fractions_.anchorY = sized ? y / viewH : 0.0;
    fractions_.box = scale * kPinchBaseBoxFraction;
    sizing_ = true;
    hasSelection_ = false;
}

void PinchSelection::pinchChanged(double scale) { fractions_.box = scale * kPinchBaseBoxFraction; }

void PinchSelection::pinchEnded(double scale, double viewW, double viewH) {
    fractions_.box = scale * kPinchBaseBoxFraction;
    sizing_ = false;
    hasSelection_ = bigEnough(viewW, viewH);
}

ClickResult PinchSelection::click(double x, double y, double viewW, double viewH,
                                  double deviceScale) {
    if (!hasSelection_) return {};
    ClickResult result{true, std::nullopt};
    const RectF box = rect(viewW, viewH);
    if (contains(box, x, y)) result.zoomRequest = scaled(box, deviceScale);
    hasSelection_ = false;
    return result;
}

bool PinchSelection::clear() {
    const bool wasShown = sizing_ || hasSelection_;
    sizing_ = false;
    hasSelection_ = false;
    return wasShown;
}

void PinchSelection::restoreFromHistory(const SelectionBox& box, double viewW, double viewH) {
    fractions_ = box;
    sizing_ = false;
    hasSelection_ = bigEnough(viewW, viewH);
}

bool PinchSelection::bigEnough(double viewW, double viewH) const {
    const RectF r = rect(viewW, viewH);
    return r.width >= kMinSelectionSize && r.height >= kMinSelectionSize;
}

}  // namespace gs
