// Shared by the palette animation tests: small rendered pictures with their snapshots, and the
// frames a recording of them must produce, made the long way (a recolour of the picture).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/frame.h"
#include "core/palette.h"
#include "export/palette_animation.h"

namespace gs::test {

struct MoviePicture {
    RenderRequest colours;  // what the picture was coloured with
    Frame source;           // the picture the snapshot was taken from
    Frame reference;        // an untouched copy of it
    PaletteAnimationSnapshot snapshot;
};

// Scenes: "plain" (palette only), "sound" (traps, glow, edges and relief, with a colour shift,
// glow intensity and drama boost from sound), "julia" (the companion, with its own curve).
inline MoviePicture moviePictureWithSource(const std::string& scene, int w, int h, double speed,
                                           double frequency = 2.0) {
    SeededRandom rng(11);
    ColourInputs c;
    c.table = std::make_shared<const ColorTable>(smoothPalette(rng));
    c.frequency = frequency;
    c.cycleOffset = 0.8;
    c.light = lightVector(-0.5, -0.5);
    c.dem = c.glow = c.traps = c.relief = scene != "plain";
    if (scene == "sound") {
        c.colorShift = 0.3;
        c.glowIntensity = 1.7;
        c.dramaBoost = 0.4;
    }
    MoviePicture p;
    if (scene == "julia") {
        c.tuning.curve = 0.8;
        p.colours = juliaRequest(-0.8, 0.156, w, h, c, 300);
    } else {
        p.colours = mandelbrotRequest(kHomeView, w, h, c, 400);
    }
    renderFrame(p.colours, p.source);
    p.reference = p.source;
    if (scene == "julia") {
        std::vector<float> counts;
        for (const PixelExtendedData& d : p.source.data) counts.push_back(d.nu);
        p.snapshot = snapshotJuliaPicture(p.colours, counts.data(), w, h, speed);
    } else {
        p.snapshot = snapshotMandelbrotPicture(p.colours, p.source, speed);
    }
    return p;
}

inline PaletteAnimationSnapshot moviePicture(const std::string& scene, int w, int h, double speed) {
    return moviePictureWithSource(scene, w, h, speed).snapshot;
}

// What a new render does to the picture's buffers.
inline void scribbleOver(Frame& f) {
    for (PixelExtendedData& d : f.data) d = {7.0f, 0.5f, 0.5f};
    for (std::uint8_t& b : f.pixels) b = 99;
}

// Frame i the long way, its top-left even part in BGRA order: for frame 0 the picture itself
// as it was rendered, for the others the untouched picture recoloured at phase + i / count.
inline std::vector<std::uint8_t> expectedFrame(const MoviePicture& p, std::int64_t i) {
    RenderRequest r = p.colours;
    r.colour.cycleOffset =
        r.colour.cycleOffset + static_cast<double>(i) / static_cast<double>(p.snapshot.frameCount);
    Frame f = p.reference;
    if (i != 0) recolorFrame(r, f);
    const MovieSize size = evenMovieSize(f.width, f.height);
    std::vector<std::uint8_t> out;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const std::uint8_t* px =
                f.pixels.data() + (static_cast<std::size_t>(y) * static_cast<std::size_t>(f.width) +
                                   static_cast<std::size_t>(x)) *
                                      4;
            out.insert(out.end(), {px[2], px[1], px[0], px[3]});
        }
    return out;
}

}  // namespace gs::test
