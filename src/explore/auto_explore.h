// Auto-explore: choosing the next view from the per-pixel data of the last render.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/budget.h"
#include "core/palette.h"
#include "core/shading.h"

namespace gs {

inline constexpr double kAutoTargetMargin = 0.15;    // fraction of W and H left out per side
inline constexpr std::size_t kAutoTopCandidates = 40;
inline constexpr double kAutoMinStepFactor = 1.4;    // zoom factor of one step, closed range
inline constexpr double kAutoMaxStepFactor = 2.2;
inline constexpr double kAutoMaxZoomFactor = 1e15;   // deeper than this starts over from home
inline constexpr double kAutoDissolveSeconds = 1.5;

// Seconds from the end of a render to the next step: 10 in full screen without the controls
// (chromeHidden), 7 otherwise.
double autoStepInterval(bool chromeHidden);

// An escaped pixel near the boundary: its index in the picture (row * W + column) and its
// boundary distance (> 0, complex-plane units).
struct BoundaryCandidate {
    std::size_t index = 0;
    float distance = 0;
    friend bool operator==(const BoundaryCandidate&, const BoundaryCandidate&) = default;
};

// Keeps the `capacity` offered candidates with the smallest distances. Until full, candidates
// are appended in the order offered; when the last place fills, the list is stable-sorted by
// distance, largest first. From then on a strictly smaller candidate replaces the first
// (largest) and sinks by neighbour swaps until the order is descending again; an equal distance
// never displaces a held candidate.
class NearestCandidates {
public:
    explicit NearestCandidates(std::size_t capacity = kAutoTopCandidates) : capacity_(capacity) {}
    void offer(const BoundaryCandidate& c);
    const std::vector<BoundaryCandidate>& held() const { return held_; }

private:
    std::size_t capacity_;
    std::vector<BoundaryCandidate> held_;
};

// The search over a width x height picture (data row by row from the top): columns and rows
// within trunc(15%) of an edge are left out; a pixel is a candidate when its nu is below
// maxIteration (it escaped) and its distance is above 0. Empty when the area is empty.
std::vector<BoundaryCandidate> boundaryCandidates(const PixelExtendedData* data, int width,
                                                  int height, std::int64_t maxIteration);

// The next auto-explore view: a random held candidate's pixel corner becomes the centre and the
// view shrinks by a random factor in [1.4, 2.2]; if that would reach a zoom level of 1e15 (or
// is not finite) the home view is returned instead. Absent when there is no data or no
// candidate. Draws one integer for the pick, then one double for the factor.
std::optional<Viewport> autoExploreTarget(const PixelExtendedData* data, int width, int height,
                                          std::int64_t maxIteration, const Viewport& current,
                                          RandomSource& rng);

}  // namespace gs
