// A palette animation movie's pictures: one full palette cycle over a picture's stored escape
// data, frame i coloured with the palette phase advanced by i / frame count, so that the frame
// after the last would be the first again and the movie loops without a seam. Nothing is
// iterated: every frame is a recolouring of the data taken when the recording started.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/frame.h"

namespace gs {

inline constexpr int kMovieFramesPerSecond = 30;

// Frames of one palette cycle at animationSpeed cycles per second:
// max(round((1 / speed) * 30), 2), in double precision in that order, half away from zero.
// A speed for which that is not finite or does not fit 64 bits is the program's own mistake
// (fatal).
std::int64_t paletteAnimationFrameCount(double animationSpeed);

// A picture's size rounded down to even numbers (the movie's size; yuv420p needs them).
struct MovieSize {
    int width = 0, height = 0;
};
MovieSize evenMovieSize(int width, int height);

// Everything a recording needs, taken on the GUI thread when it starts; later changes to the
// explorer (a new palette, sound moving the colours) do not reach the movie.
struct PaletteAnimationSnapshot {
    bool julia = false;  // the Julia companion: its counts, its own curve, no shadings
    std::shared_ptr<const ColorTable> colorTable;
    double frequency = 2.0;
    double cycleOffset = 0.0;
    bool demEnabled = false, glowEnabled = false, trapsEnabled = false, reliefEnabled = false;
    ReliefLight reliefLight;          // with sound's drama boost already applied
    double soundGlowIntensity = 1.0;
    double colorShift = 0.0;          // soundHueAnchorShift + soundVolumeDisplacement
    ShadingTuning tuning;             // the Julia picture uses only its curve
    std::int32_t maxIter = 0;         // the picture's iteration ceiling
    double pixelSize = 0.0;           // complex-plane width of one pixel (glow and edges)
    int width = 0, height = 0;        // the source picture's size
    std::shared_ptr<const PictureBuffer<PixelExtendedData>> data;  // width x height, rows from the top
    std::int64_t frameCount = 0;
    int framesPerSecond = kMovieFramesPerSecond;
};

// The main picture: its colour request (the colour inputs the picture was coloured with, sound
// values included, e.g. mandelbrotRequest(view, w, h, colourInputs, lastMaxIteration)) and a
// copy of its stored data.
PaletteAnimationSnapshot snapshotMandelbrotPicture(const RenderRequest& colours, const Frame& picture,
                                                   double animationSpeed);
// The Julia companion: its colour request (juliaRequest with the Julia view's own tuning) and
// a copy of its counts (width x height).
PaletteAnimationSnapshot snapshotJuliaPicture(const RenderRequest& colours, const float* counts,
                                              int width, int height, double animationSpeed);

// Colours the frames of a snapshot: the top-left part of the picture at the even size, exactly
// as that part looks in the whole picture (relief included). Construction prepares what every
// frame shares: the relief elevation; the stretches of each row that the palette can change
// (interior pixels are black in every frame, so long runs of them are filled, not coloured);
// and, with one colouring pass, the palette-independent colouring inputs, from which each
// frame is then coloured faster (the same bytes).
class PaletteCycleFrames {
public:
    // The snapshot must be valid(): an even size of at least 2 x 2, data for its source size,
    // a positive frame count.
    explicit PaletteCycleFrames(const PaletteAnimationSnapshot& snapshot);

    static bool valid(const PaletteAnimationSnapshot& snapshot);

    int width() const { return size_.width; }
    int height() const { return size_.height; }
    std::int64_t frameCount() const { return frameCount_; }

    // The colour parameters of frame i: the snapshot's, with the cycle offset advanced by
    // i / frame count.
    ColorParams frameColours(std::int64_t i) const;

    // Colours rows [row, row + count) of frame i into bgra (B, G, R, A bytes; pixel (0, row)
    // first, rows stride bytes apart): each row is coloured, lit when relief is on, and put
    // into BGRA order while it is in the cache. Calls for different rows may run at once.
    void colourRows(std::int64_t i, int row, int count, std::uint8_t* bgra, std::ptrdiff_t stride);
    // The whole frame i (width x height x 4 bytes), rows in parallel.
    void colourFrame(std::int64_t i, std::uint8_t* bgra);

private:
    // A stretch of a row to colour: pixels [start, start + count).
    struct Span {
        int start = 0, count = 0;
    };
    void findSpans();
    void keepInputs();
    void colourRow(const ColorParams& colours, int row, std::uint8_t* out);

    MovieSize size_;
    int sourceWidth_ = 0, sourceHeight_ = 0;
    std::int64_t frameCount_ = 0;
    std::shared_ptr<const ColorTable> table_;  // keeps base_.table alive
    bool relief_ = false;
    ReliefLight light_;
    std::shared_ptr<const PictureBuffer<PixelExtendedData>> data_;  // the source picture's
    ColorParams base_;
    PictureBuffer<float> elevation_;        // of the whole source picture
    PictureBuffer<std::uint8_t> unlit_;     // relief: rows coloured at the source's stride
    KeptColourInputs kept_;
    std::vector<Span> spans_;           // every row's, in order
    std::vector<std::size_t> rowSpans_; // row r's spans: [rowSpans_[r], rowSpans_[r + 1])
};

}  // namespace gs
