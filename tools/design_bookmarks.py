#!/usr/bin/env python3
"""Writes the bookmarks of Glimmerscape's online library.

Each bookmark is a place in the plane (its centre and width; the height follows from the
window's 4:3 picture), a palette drawn from colour stops the way tools/design_palettes.py draws
them, and the shadings that show the place at its best. The tool writes one bookmark JSON file
per place into library/Glimmerscape/Bookmarks/<collection>/ and the manifest beside them, with
each entry's width and a swatch of its palette.

A bookmark is shown with its palette at frequency 2 and phase 0, so the command line renders
exactly what the window will show from the same table written as a .map file:

    tools/design_bookmarks.py                        rewrite the bookmarks and the manifest
    tools/design_bookmarks.py --render DIR [--size WxH] [--program PATH]
                                                     also render each one into DIR/<file>.png
"""
import argparse
import base64
import json
import math
import os
import subprocess
import sys
import tempfile

from design_palettes import build, map_text, swatch

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
ONLINE = os.path.join(ROOT, "library", "Glimmerscape", "Bookmarks")
PROGRAM = os.path.join(ROOT, "build", "src", "app", "glimmerscape")

# A place: centre (x, y), width, palette stops, how many times the palette repeats across the
# table (more bands where the count changes slowly), shadings ("dem", "glow", "traps",
# "relief") and the relief light as the window holds it (raw x, raw y).
def place(name, cx, cy, width, stops, repeat=1, shadings=(), light=(-0.5, -0.5)):
    return {"name": name, "cx": cx, "cy": cy, "width": width, "stops": stops, "repeat": repeat,
            "shadings": set(shadings), "light": light}


# (id, title, credit) -> places, in the order the library lists them.
COLLECTIONS = {
    ("filaments", "Filaments", "Filaments by Glimmerscape"): [
        place("Dendrite at i", -0.003, 1.003, 0.012,
              [(0.00, "#04060f"), (0.30, "#1b2d5a"), (0.50, "#7fb4e8"), (0.62, "#f4fbff"),
               (0.76, "#e8a040"), (0.90, "#2a1020")], 4),
        place("Lightning", -1.3151809, 0.0734817, 0.0009,
              [(0.00, "#05040c"), (0.26, "#2a1f5e"), (0.44, "#8d7bff"), (0.54, "#fffbe8"),
               (0.64, "#ffd45a"), (0.80, "#4a2a7a")], 1, ("glow",)),
        place("Starfish", -0.3740041, 0.6597922, 0.0016,
              [(0.00, "#061a1f"), (0.22, "#0f5560"), (0.40, "#ff9a6a"), (0.54, "#fff0d6"),
               (0.68, "#f25a6a"), (0.84, "#2a2040")], 1, ("glow",)),
        place("Snowflake Tendrils", -0.1011, 0.9563, 0.004,
              [(0.00, "#020812"), (0.24, "#0a2a40"), (0.42, "#3a9ac8"), (0.56, "#eefaff"),
               (0.70, "#9ad0f0"), (0.86, "#12304a")], 1, ("glow",)),
    ],
    ("valleys", "Spiral Valleys", "Spiral Valleys by Glimmerscape"): [
        place("Triple Spiral Valley", -0.0880, 0.6550, 0.012,
              [(0.00, "#0a0312"), (0.20, "#4a1260"), (0.38, "#e0508c"), (0.52, "#ffd9a0"),
               (0.66, "#5ad0c0"), (0.84, "#142c5a")], 1, ("relief",), (-0.6, -0.3)),
        place("Seahorse Tail", -0.743643887, 0.131825904, 0.0006,
              [(0.00, "#0d0705"), (0.22, "#5a2a12"), (0.40, "#d08a3a"), (0.54, "#fff2cc"),
               (0.66, "#6ac0b0"), (0.84, "#1a3a40")], 1, ("relief",), (-0.5, -0.7)),
        place("Pinwheel", 0.4245, 0.2075, 0.01,
              [(0.00, "#08020a"), (0.24, "#3a0a3a"), (0.42, "#c83a7a"), (0.56, "#ffe0c8"),
               (0.70, "#ff9a3a"), (0.86, "#3a1208")], 1, ("glow",)),
        place("Scepter Valley", -1.2620, 0.0420, 0.015,
              [(0.00, "#02090a"), (0.26, "#0a3a3a"), (0.44, "#3ac0a0"), (0.56, "#e8ffe0"),
               (0.70, "#e8b04a"), (0.86, "#3a1a0a")], 2),
    ],
}


def table_of(p):
    """The palette with its repeats baked in: what the window shows at frequency 2."""
    base = build(p["stops"])
    return [base[i * p["repeat"] % len(base)] for i in range(len(base))]


def bounds(p):
    """xmin, xmax, ymin, ymax, tidied to 12 significant digits (far finer than a pixel)."""
    half_w, half_h = p["width"] / 2, p["width"] * 3 / 8
    edges = (p["cx"] - half_w, p["cx"] + half_w, p["cy"] - half_h, p["cy"] + half_h)
    return tuple(float("%.12g" % e) for e in edges)


def packed(table):
    """The table as 768 bytes r, g, b (rounded, halves away from zero, clamped), base64."""
    data = bytes(min(255, max(0, int(math.floor(c * 255 + 0.5)))) for rgb in table for c in rgb)
    return base64.b64encode(data).decode("ascii")


def file_name(name):
    return name.lower().replace(" ", "-") + ".json"


def record(p, table):
    xmin, xmax, ymin, ymax = bounds(p)
    s = p["shadings"]
    return {"name": p["name"], "xmin": xmin, "xmax": xmax, "ymin": ymin, "ymax": ymax,
            "paletteColors": packed(table), "demEnabled": "dem" in s, "reliefEnabled": "relief" in s,
            "reliefLightRawX": p["light"][0], "reliefLightRawY": p["light"][1],
            "glowEnabled": "glow" in s, "trapsEnabled": "traps" in s, "soundEnabled": False}


def write_json(path, value):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8", newline="\n") as f:
        json.dump(value, f, indent=2, ensure_ascii=False)
        f.write("\n")


def render(p, table, out, size, program):
    with tempfile.NamedTemporaryFile("w", suffix=".map", delete=False) as f:
        f.write(map_text(table))
    s = p["shadings"]
    args = [program, "render", "--size", size, "--view", "%r,%r,%r,%r" % bounds(p),
            "--palette", f.name, "--frequency", "2", "--phase", "0", "-o", out]
    args += ["--" + flag for flag in ("dem", "glow", "traps", "relief") if flag in s]
    if "relief" in s:
        args += ["--light", "%r,%r" % p["light"]]
    try:
        subprocess.run(args, check=True)
    finally:
        os.unlink(f.name)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--render", metavar="DIR", help="also render every bookmark into DIR")
    parser.add_argument("--size", default="800x600")
    parser.add_argument("--program", default=PROGRAM)
    args = parser.parse_args()
    manifest = {"manifestVersion": 1, "collections": []}
    for (cid, title, credit), places in COLLECTIONS.items():
        folder = os.path.join(ONLINE, cid)
        for old in os.listdir(folder) if os.path.isdir(folder) else []:  # places since dropped
            if old.endswith(".json"):
                os.unlink(os.path.join(folder, old))
        entries = []
        for p in places:
            table = table_of(p)
            rec = record(p, table)
            write_json(os.path.join(ONLINE, cid, file_name(p["name"])), rec)
            entries.append({"name": p["name"], "file": file_name(p["name"]), "xmin": rec["xmin"],
                            "xmax": rec["xmax"], "swatch": swatch(p["stops"])})
            if args.render:
                os.makedirs(args.render, exist_ok=True)
                render(p, table, os.path.join(args.render, file_name(p["name"])[:-5] + ".png"),
                       args.size, args.program)
        manifest["collections"].append({"id": cid, "title": title, "path": cid,
                                         "credit": credit, "bookmarks": entries})
    write_json(os.path.join(ONLINE, "manifest.json"), manifest)


if __name__ == "__main__":
    sys.exit(main())
