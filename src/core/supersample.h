// Anti-aliased posters: a picture computed with several points per pixel whose colours are
// averaged in linear light, so that thin filaments and the edges of colour bands come out
// smooth instead of stair-stepped.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame.h"

namespace gs {

inline constexpr int kMaxSamplesPerSide = 4;

// The sRGB transfer function (IEC 61966-2-1) on one 8-bit channel: with c = v / 255,
//   linear = c / 12.92                     when c <= 0.04045
//   linear = ((c + 0.055) / 1.055) ^ 2.4   otherwise.
double srgbToLinear(std::uint8_t v);

// The inverse, rounded to the nearest byte in the encoded domain:
//   encoded = 12.92 * linear                         when linear <= 0.0031308
//   encoded = 1.055 * linear ^ (1 / 2.4) - 0.055     otherwise,
// byte = round(encoded * 255), halves up, clamped to 0..255. Computed exactly as the byte b
// with srgbToLinear((b - 0.5) / 255) <= linear < srgbToLinear((b + 0.5) / 255) (the decoding
// formula taken at the midpoints between bytes), so every byte survives the round trip.
std::uint8_t linearToSrgb(double linear);

// Renders r's picture (Mandelbrot or Julia) with samplesPerSide x samplesPerSide points per
// pixel, 1 to 4 (anything else is the caller's mistake and fatal).
//
// samplesPerSide = 1 is renderFrame itself: the same bytes and the same per-pixel data.
//
// Otherwise the samples of pixel (col, row) sit at (col + (s + 0.5) / N - 0.5, row + (t + 0.5)
// / N - 0.5) pixel steps from the corner, s, t = 0..N-1: centred on the point a plain render
// computes for that pixel, so the poster lines up with the plain picture. Each sample is
// coloured exactly like a plain pixel, with the poster's own pixel size (the glow radius and
// the edge width stay measured in output pixels, so the shadings look as they do on screen,
// only smoother). The N x N colours are decoded to linear light, averaged per channel in
// double precision and encoded back (srgbToLinear, linearToSrgb); alpha is 255.
//
// Relief is a whole-picture pass over neighbouring elevations, so it runs once on the averaged
// picture: the elevation of a pixel is the mean of its samples' elevations, and the averaged,
// unlit colours are lit as a plain render's are. The frame keeps the unlit colours and the
// averaged elevation, so relight() works on a poster as on a plain picture. A poster has no
// single escape record per pixel: its per-pixel data is left zero (recolouring it is
// meaningless). Returns the iterations made. rowsDone, when given, counts the rows as they
// finish (another thread may watch it).
std::uint64_t renderSupersampled(const RenderRequest& r, int samplesPerSide, Frame& frame,
                                 std::atomic<int>* rowsDone = nullptr);

}  // namespace gs
