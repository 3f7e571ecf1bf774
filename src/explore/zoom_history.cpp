#include "zoom_history.h"

#include <utility>

namespace gs {

ZoomOutcome ZoomHistory::zoomIntoRect(double rx, double ry, double rw, double rh, int bufferW,
                                      int bufferH, const std::optional<SelectionBox>& selection) {
    if (rw < 1 || rh < 1 || bufferW < 1 || bufferH < 1) return ZoomOutcome::ignored;
    const Viewport& v = current_;
    const double dx = (v.xmax - v.xmin) / bufferW;
    const double dy = (v.ymax - v.ymin) / bufferH;
    const Viewport next{v.xmin + rx * dx, v.xmin + (rx + rw) * dx, v.ymax - (ry + rh) * dy,
                        v.ymax - ry * dy};
    if (!zoomWithinLimit(next.xmax - next.xmin)) return ZoomOutcome::refusedAtLimit;

    ZoomBounds entry = entryForCurrent();
    entry.selection = selection;
    push(std::move(entry));
    forward_.clear();
    outgoing_.reset();
    current_ = next;
    return ZoomOutcome::zoomed;
}

HistoryMove ZoomHistory::back() {
    if (back_.empty()) return {};
    const ZoomBounds target = back_.back();
    back_.pop_back();
    forward_.push_back(entryForCurrent());
    return moveTo(target);
}

HistoryMove ZoomHistory::forward() {
    if (forward_.empty()) return {};
    const ZoomBounds target = forward_.back();
    forward_.pop_back();
    push(entryForCurrent());
    return moveTo(target);
}

bool ZoomHistory::resetView() {
    if (current_ == kHomeView) return false;
    push(entryForCurrent());
    forward_.clear();
    outgoing_.reset();
    current_ = kHomeView;
    return true;
}

void ZoomHistory::resetAll() {
    back_.clear();
    forward_.clear();
    outgoing_.reset();
    current_ = kHomeView;
}

void ZoomHistory::pushNoSelection() {
    push(ZoomBounds{current_.xmin, current_.xmax, current_.ymin, current_.ymax, std::nullopt});
    forward_.clear();
    outgoing_.reset();
}

ZoomBounds ZoomHistory::entryForCurrent() const {
    return {current_.xmin, current_.xmax, current_.ymin, current_.ymax, outgoing_};
}

// Appends, then drops the oldest entry if the stack was already full before the append.
void ZoomHistory::push(ZoomBounds entry) {
    const bool wasFull = back_.size() >= kMaxBackEntries;
    back_.push_back(std::move(entry));
    if (wasFull) back_.erase(back_.begin());
}

// The box through which `target` was left becomes the way back in again.
HistoryMove ZoomHistory::moveTo(const ZoomBounds& target) {
    current_ = target.view();
    outgoing_ = target.selection;
    return {true, target.selection};
}

}  // namespace gs
