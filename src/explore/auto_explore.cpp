#include "auto_explore.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace gs {
namespace {

// The complex-plane view of the given half extents around (tx, ty), or home when too deep.
Viewport stepView(double tx, double ty, double hx, double hy) {
    const double zoom = kInitialWidth / ((tx + hx) - (tx - hx));
    if (!std::isfinite(zoom) || !(zoom < kAutoMaxZoomFactor)) return kHomeView;
    return {tx - hx, tx + hx, ty - hy, ty + hy};
}

bool isCandidate(const PixelExtendedData& p, std::int64_t maxIteration) {
    return static_cast<double>(p.nu) < static_cast<double>(maxIteration) && p.distance > 0.0f;
}

}  // namespace

double autoStepInterval(bool chromeHidden) { return chromeHidden ? 10.0 : 7.0; }

void NearestCandidates::offer(const BoundaryCandidate& c) {
    if (capacity_ == 0) return;
    if (held_.size() < capacity_) {
        held_.push_back(c);
        if (held_.size() == capacity_) {
            // Stable: equal distances keep the order in which they were found, so the held
            // list, and with it a seeded pick, does not depend on the sort's internals.
            std::stable_sort(held_.begin(), held_.end(),
                             [](const auto& a, const auto& b) { return a.distance > b.distance; });
        }
        return;
    }
    if (!(c.distance < held_.front().distance)) return;
    held_.front() = c;
    for (std::size_t i = 0; i + 1 < held_.size() && held_[i].distance < held_[i + 1].distance; ++i)
        std::swap(held_[i], held_[i + 1]);
}

std::vector<BoundaryCandidate> boundaryCandidates(const PixelExtendedData* data, int width,
                                                  int height, std::int64_t maxIteration) {
    if (data == nullptr || width < 1 || height < 1) return {};
    const int mx = static_cast<int>(std::trunc(width * kAutoTargetMargin));
    const int my = static_cast<int>(std::trunc(height * kAutoTargetMargin));
    NearestCandidates best;
    for (int row = my; row <= height - my - 1; ++row) {
        for (int col = mx; col <= width - mx - 1; ++col) {
            const auto index = static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                               static_cast<std::size_t>(col);
            if (isCandidate(data[index], maxIteration)) best.offer({index, data[index].distance});
        }
    }
    return best.held();
}

std::optional<Viewport> autoExploreTarget(const PixelExtendedData* data, int width, int height,
                                          std::int64_t maxIteration, const Viewport& current,
                                          RandomSource& rng) {
    const std::vector<BoundaryCandidate> held =
        boundaryCandidates(data, width, height, maxIteration);
    if (held.empty()) return std::nullopt;

    const std::size_t index = held[randomBelow(rng, held.size())].index;
    const auto w = static_cast<std::size_t>(width);
    const std::size_t row = index / w;
    const std::size_t col = index - row * w;
    const Viewport& v = current;
    const double tx = v.xmin + static_cast<double>(col) * (v.xmax - v.xmin) / width;
    const double ty = v.ymax - static_cast<double>(row) * (v.ymax - v.ymin) / height;

    const double f = randomClosed(rng, kAutoMinStepFactor, kAutoMaxStepFactor);
    const double hx = (v.xmax - v.xmin) / (2 * f);
    const double hy = (v.ymax - v.ymin) / (2 * f);
    return stepView(tx, ty, hx, hy);
}

}  // namespace gs
