#!/usr/bin/env python3
"""Writes Glimmerscape's built-in bookmarks: one JSON file each in src/library/bookmarks/.

Every bookmark is a well-known place of the Mandelbrot set, given here by its centre and width
(the picture keeps the home view's 4:3 proportions), one of the built-in palettes with the
repeat and shift that suit the place, the shadings, the relief light and the tuning values that
differ from the defaults. The palette is baked into the bookmark's 256 colours exactly as the
explorer bakes what is on screen when a location is saved: entry i samples the palette at the
fractional part of shift + repeat * i / 256, blending neighbouring entries; the explorer then
shows the baked table at frequency 2 and phase 0.

    tools/make_bookmarks.py               rewrite every built-in bookmark
    tools/make_bookmarks.py --render DIR  also render each at 1200x900 into DIR/<file>.png with
                                          the built program (build/src/app/glimmerscape)
"""
import argparse
import base64
import json
import math
import os
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
PALETTES = os.path.join(ROOT, "src", "library", "palettes")
BOOKMARKS = os.path.join(ROOT, "src", "library", "bookmarks")
PROGRAM = os.path.join(ROOT, "build", "src", "app", "glimmerscape")

# The shading tuning's keys in field order, with their defaults.
TUNING_DEFAULTS = [
    ("curve", 1.0), ("demThickness", 0.0), ("demSoftness", 2.0), ("glowStrength", 0.9),
    ("glowRadius", 0.8), ("glowDim", 0.8), ("glowTint", 0.0), ("trapReach", 0.4),
    ("trapSharpness", 0.45), ("trapGlint", 0.35), ("reliefHeight", 1.0), ("reliefShadow", 0.0),
    ("reliefShine", 1.0), ("reliefEdgeCalm", 0.6000000238418579),
]

# file -> the place and its look. centre (x, y) and width in the complex plane; palette: a
# built-in palette's name; repeat and shift: how it is laid over the escape counts; shadings:
# any of "dem", "glow", "traps", "relief"; light: the relief light's raw position; tuning: the
# values that differ from the defaults.
PLACES = {
    "whole-set": dict(
        name="The Whole Set", centre=(-0.75, 0.0), width=3.2,
        palette="Twilight", repeat=3.0, shift=0.0, shadings=("dem", "relief")),
    "seahorse-valley": dict(
        name="Seahorse Valley", centre=(-0.7463, 0.1102), width=0.01,
        palette="Ocean", repeat=3.0, shift=0.5, shadings=("dem", "glow")),
    "seahorse-tail": dict(
        name="Seahorse Tail", centre=(-0.74518, 0.1126), width=0.0006,
        palette="Coral Reef", repeat=3.0, shift=0.0, shadings=("dem", "relief")),
    "double-spiral": dict(
        name="Double Spiral", centre=(-0.743643887037151, 0.13182590420533), width=0.0002,
        palette="Aurora", repeat=2.0, shift=0.0, shadings=("dem",)),
    "julia-lace": dict(
        name="Julia Lace", centre=(-0.743643887037151, 0.13182590420533), width=5e-09,
        palette="Nebula", repeat=16.0, shift=0.0, shadings=("dem",)),
    "elephant-valley": dict(
        name="Elephant Valley", centre=(0.2925, 0.0155), width=0.012,
        palette="Copper", repeat=3.0, shift=0.3, shadings=("dem", "glow")),
    "mini-brot": dict(
        name="Mini-brot on the Needle", centre=(-1.7549, 0.0), width=0.08,
        palette="Fire", repeat=3.0, shift=0.0, shadings=("dem", "glow")),
    "needle": dict(
        name="The Needle", centre=(-1.80, 0.0), width=0.44,
        palette="Ice", repeat=3.0, shift=0.0, shadings=("glow",)),
    "needle-spirals": dict(
        name="Needle Spirals", centre=(-1.74975914513036646, 0.0), width=4.4e-08,
        palette="Orchid", repeat=10.0, shift=0.0, shadings=("dem",)),
    "triple-spiral-valley": dict(
        name="Triple Spiral Valley", centre=(-0.08896, 0.65441), width=0.0007,
        palette="Sunset", repeat=3.0, shift=0.0, shadings=("dem",)),
    "scepter-valley": dict(
        name="Scepter Valley", centre=(-1.25066, 0.02012), width=0.0002,
        palette="Emberglass", repeat=4.0, shift=0.0, shadings=("dem",)),
    "snowflake": dict(
        name="Snowflake", centre=(-0.10109636384562, 0.95628651080914), width=0.0045,
        palette="Glacier", repeat=3.0, shift=0.0, shadings=("glow",)),
    "feigenbaum-ferns": dict(
        name="Feigenbaum Ferns", centre=(-1.4025, 0.0), width=0.003,
        palette="Forest", repeat=3.0, shift=0.7, shadings=("dem",)),
    "spiral-and-fan": dict(
        name="Spiral and Fan", centre=(0.2549870375144766, -0.0005679790528465), width=0.0001,
        palette="Prism", repeat=2.0, shift=0.0, shadings=("dem",)),
    "lightning": dict(
        name="Lightning", centre=(-0.170337, -1.06506), width=0.0003,
        palette="Midnight Ink", repeat=12.0, shift=0.0, shadings=("glow",)),
    "orchid-web": dict(
        name="Orchid Web", centre=(-0.16, 1.0405), width=0.04,
        palette="Orchid", repeat=3.0, shift=0.0, shadings=("dem", "traps")),
    "dendrite": dict(
        name="Dendrite at i", centre=(-0.012, 1.002), width=0.04,
        palette="Nebula", repeat=3.0, shift=0.0, shadings=("glow",)),
}


def read_map(name):
    table = []
    with open(os.path.join(PALETTES, name + ".map"), encoding="utf-8") as f:
        for line in f:
            parts = line.replace(",", " ").split()
            if len(parts) >= 3:
                table.append(tuple(int(p) / 255.0 for p in parts[:3]))
    assert len(table) == 256, name
    return table


def sample(table, t):
    """The explorer's cyclic lookup: position t in [0, 1) blended between neighbours."""
    n = len(table)
    v = t * n
    i = int(math.fmod(math.trunc(v), n)) % n
    j = 0 if i + 1 == n else i + 1
    f = v - math.floor(v)
    return tuple(min(max(a + f * (b - a), 0.0), 1.0) for a, b in zip(table[i], table[j]))


def bake(table, repeat, shift):
    baked = []
    for i in range(256):
        p = shift + repeat * i / 256
        fraction = p - math.trunc(p)
        if fraction < 0:
            fraction += 1.0
        baked.append(sample(table, fraction))
    return baked


def pack(colours):
    """768 bytes r, g, b: each channel times 255, halves rounded away from zero, clamped."""
    data = bytearray()
    for colour in colours:
        for c in colour:
            data.append(min(max(math.floor(c * 255.0 + 0.5), 0), 255))
    return base64.b64encode(bytes(data)).decode("ascii")


def bookmark(place):
    x, y = place["centre"]
    w = place["width"]
    h = w * 0.75
    shadings = set(place.get("shadings", ()))
    light = place.get("light", (-0.5, -0.5))
    record = {
        "name": place["name"],
        "xmin": x - w / 2, "xmax": x + w / 2, "ymin": y - h / 2, "ymax": y + h / 2,
        "paletteColors": pack(bake(read_map(place["palette"]), place["repeat"], place["shift"])),
        "demEnabled": "dem" in shadings,
        "reliefEnabled": "relief" in shadings,
        "reliefLightRawX": light[0],
        "reliefLightRawY": light[1],
        "glowEnabled": "glow" in shadings,
        "trapsEnabled": "traps" in shadings,
        "soundEnabled": False,
    }
    tuning = place.get("tuning", {})
    unknown = set(tuning) - {key for key, _ in TUNING_DEFAULTS}
    assert not unknown, unknown
    if tuning:
        record["tuning"] = {key: float(tuning.get(key, default)) for key, default in TUNING_DEFAULTS}
    return record


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--render", metavar="DIR", help="also render each bookmark into DIR")
    parser.add_argument("--size", default="1200x900", help="picture size for --render")
    args = parser.parse_args()
    os.makedirs(BOOKMARKS, exist_ok=True)
    for old in os.listdir(BOOKMARKS):
        if old.endswith(".json"):
            os.remove(os.path.join(BOOKMARKS, old))
    for file, place in PLACES.items():
        path = os.path.join(BOOKMARKS, file + ".json")
        with open(path, "w", encoding="utf-8", newline="\n") as f:
            f.write(json.dumps(bookmark(place), ensure_ascii=False, separators=(",", ":")) + "\n")
        if args.render:
            os.makedirs(args.render, exist_ok=True)
            subprocess.run([PROGRAM, "render", "--bookmark", path, "--size", args.size,
                            "-o", os.path.join(args.render, file + ".png")],
                           check=True, stdout=subprocess.DEVNULL)
    print(f"wrote {len(PLACES)} bookmarks to {os.path.relpath(BOOKMARKS, ROOT)}")


if __name__ == "__main__":
    main()
