// Viewport bounds, the iteration budget derived from the zoom, the zoom limit, and the texts of
// the status display.
#pragma once

#include <cstdint>
#include <string>

namespace gs {

// A rectangle of the complex plane: real axis horizontal, imaginary vertical, picture row 0 at
// ymax. The two axes are scaled separately (never adjusted to the picture's proportions).
struct Viewport {
    double xmin = -2.5, xmax = 1.5, ymin = -1.5, ymax = 1.5;
    friend bool operator==(const Viewport&, const Viewport&) = default;
    double width() const { return xmax - xmin; }
    double height() const { return ymax - ymin; }
    double centerX() const { return (xmin + xmax) * 0.5; }
    double centerY() const { return (ymin + ymax) * 0.5; }
};

inline constexpr Viewport kHomeView{-2.5, 1.5, -1.5, 1.5};
inline constexpr double kInitialWidth = 4.0;     // home width: zoom level 1
inline constexpr double kMaxZoomFactor = 5e15;   // deepest zoom a selection may reach
inline constexpr std::int64_t kIterationCap = 8000;

// initialWidth / width: 1 at the home view.
double zoomLevel(const Viewport& v, double initialWidth = kInitialWidth);

// Complex-plane width of one pixel for a picture bufferWidth pixels wide.
double pixelSizeFor(const Viewport& v, std::int64_t bufferWidth);

// trunc(log2(max(initialWidth / width, 1)) * 100 + 255), at most 8000: 255 at the home view,
// +100 for each halving of the width. A non-finite value is fatal.
std::int64_t iterationCeiling(const Viewport& v, double initialWidth = kInitialWidth);

// A zoom to a view newWidth wide is allowed while its zoom level is finite and below 5e15.
bool zoomWithinLimit(double newWidth, double initialWidth = kInitialWidth);

// Status texts (UTF-8).
std::string zoomText(double zoom);           // "2.5×", or "1.2×10⁵×" from 1000 up
std::string centerText(const Viewport& v);   // "-0.7500+0.1000i"
std::string iterationsText(std::int64_t maxIterations);
std::string renderTimeText(double seconds);  // "0.42s"

}  // namespace gs
