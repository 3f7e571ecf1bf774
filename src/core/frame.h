// The frame engine: a whole picture (Mandelbrot viewport or Julia set) computed row by row into
// per-pixel escape data and RGBA, recoloured from that data without iterating, and lit by the
// relief pass. Rows are independent, so the window can run renderRow on its own workers and hand
// rows over one by one; the command line renders whole frames with renderFrame.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "budget.h"
#include "kernel.h"
#include "populated_allocator.h"
#include "shading.h"

namespace gs {

// Everything a render needs, captured by value when it is requested. The colour table is
// shared, not copied, so the colour parameters' table pointer stays valid for the request.
struct RenderRequest {
    int width = 0, height = 0;
    std::int64_t generation = 0;
    std::int32_t maxIter = 0;
    // Mandelbrot: top-left corner and pixel steps. Julia: the picture spans -1.6..1.6 on both
    // axes with c = (juliaRe, juliaIm).
    double xmin = 0, ymax = 0, dx = 0, dy = 0;
    bool julia = false;
    double juliaRe = 0, juliaIm = 0;
    std::shared_ptr<const ColorTable> table;
    ColorParams colour;     // table pointer set from `table`
    double juliaCurve = 1;  // the Julia picture's own curve
    bool relief = false;
    ReliefLight light;      // with the effective drama
    KernelKind kernel = KernelKind::simd;
};

struct ColourInputs {
    std::shared_ptr<const ColorTable> table;
    double frequency = 2.0, cycleOffset = 0.0;
    double colorShift = 0.0, glowIntensity = 1.0;
    bool dem = false, traps = false, glow = false, relief = false;
    ShadingTuning tuning;
    ReliefLight light;
    double dramaBoost = 0.0;  // added to the light's drama (held in [0, 1]); 0 leaves it
};

// A Mandelbrot render request for a viewport at a size, with the ceiling of the budget rule
// unless maxIter >= 0 is given. The ceiling must fit 32 bits (fatal otherwise).
RenderRequest mandelbrotRequest(const Viewport& view, int width, int height,
                                const ColourInputs& colour, std::int64_t maxIter = -1);
// The Julia picture for parameter c at a size, with the given ceiling.
RenderRequest juliaRequest(double cRe, double cIm, int width, int height,
                           const ColourInputs& colour, std::int64_t maxIter);

// The Julia colouring parameters of a request, with the Julia picture's own curve.
JuliaColorParams juliaColourParams(const RenderRequest& r, double curve);

// The drama actually used: stored drama + boost clamped to [0, 1] when the boost is not 0.
ReliefLight effectiveLight(const ReliefLight& light, double dramaBoost);

// A whole picture's palette-independent colouring inputs (see ColourInputRow), kept while the
// picture is recoloured again and again. About 20 bytes a pixel with every shading on.
struct KeptColourInputs {
    std::optional<ColourInputKey> key;  // set while every row holds inputs made under it
    PictureBuffer<double> count;
    PictureBuffer<float> weight, falloff, edge;

    // The inputs no longer describe the data (new rows, another size).
    void invalidate() { key.reset(); }
    // Frees the memory (when the recolouring stops).
    void release();
    // Sized for pixelCount pixels under key's shadings; unused arrays are emptied.
    void prepare(const ColourInputKey& forKey, std::size_t pixelCount);
    // Every array sized for pixelCount pixels, nothing valid: the memory made ready in advance
    // (it may be done on another thread, then moved in).
    void allocate(std::size_t pixelCount);
    bool sizedFor(std::size_t pixelCount) const { return count.size() == pixelCount; }
    ColourInputRow row(std::size_t at);
};

// The per-pixel buffers of one picture, zero-filled when made.
struct Frame {
    int width = 0, height = 0;
    PictureBuffer<std::uint8_t> pixels;        // width x height x RGBA, rows top to bottom
    PictureBuffer<PixelExtendedData> data;     // one record per pixel
    PictureBuffer<std::uint8_t> reliefBase;    // the unlit colours, made by the relief pass
    PictureBuffer<float> elevation;            // relief elevation cache; empty when stale
    KeptColourInputs keptInputs;               // while the picture is recoloured repeatedly

    // Reallocates zero-filled buffers; returns false (keeping everything) when the size is
    // unchanged. Byte counts that overflow are fatal.
    bool resize(int newWidth, int newHeight);
    std::size_t pixelCount() const;
};

// Computes and colours one row into rgba (width x 4 bytes) and data (width records).
// Called from worker threads; touches nothing but its outputs.
void renderRow(const RenderRequest& r, int row, std::uint8_t* rgba, PixelExtendedData* data,
               std::uint64_t* iterations = nullptr);

// Renders every row in parallel into the frame (resized to the request), then the relief pass
// when the request asks for it. Returns the iterations made. rowsDone, when given, counts the
// rows as they finish (another thread may watch it).
std::uint64_t renderFrame(const RenderRequest& r, Frame& frame,
                          std::atomic<int>* rowsDone = nullptr);

// Recolours the frame from its stored data in parallel rows; rebuilds the relief when on,
// else drops the elevation cache. With keepInputs (palette animation) a Mandelbrot
// frame keeps its palette-independent inputs and the next recolours under the same key
// colour from them: the same bytes, in about two thirds of the time. Whoever writes the frame's data
// must invalidate them.
void recolorFrame(const RenderRequest& colour, Frame& frame, bool keepInputs = false);

// The relief pass over a freshly coloured frame: keeps the unlit copy, builds the elevation if
// needed, and lights the picture.
void reliefPass(Frame& frame, std::int32_t maxIter, const ReliefLight& light,
                const ShadingTuning& tuning);
// A light-only change: restores the unlit copy and lights it again. False when there is no
// unlit copy or elevation to work from.
bool relight(Frame& frame, const ReliefLight& light, const ShadingTuning& tuning);

}  // namespace gs
