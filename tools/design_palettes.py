#!/usr/bin/env python3
"""Writes Glimmerscape's own palettes as 256-line .map files.

Each palette is a ring of colour stops placed along the cycle (0..1). Between two stops the
colour moves through the OKLab space, which keeps the brightness steps even and avoids the grey
dips of plain RGB blending; the last stop blends back into the first, so every palette wraps
without a seam when it cycles or repeats.

    tools/design_palettes.py            rewrite every palette in the repository
    tools/design_palettes.py --strip S  also draw all of them as strips into the PNG S
"""
import argparse
import json
import math
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
BUILT_IN = os.path.join(ROOT, "src", "library", "palettes")
ONLINE = os.path.join(ROOT, "library", "Glimmerscape", "Palettes")

# name -> list of (position along the cycle, "#rrggbb").
BUILT_IN_PALETTES = {
    "Fire": [(0.00, "#0b0302"), (0.22, "#6e0c04"), (0.40, "#d63a05"), (0.56, "#ffa11c"),
             (0.68, "#fff2b8"), (0.80, "#ff9a1a"), (0.92, "#8c1a06")],
    "Ice": [(0.00, "#04102a"), (0.25, "#1d4f8c"), (0.45, "#6fb3e0"), (0.60, "#e6f7ff"),
            (0.72, "#a8d8f0"), (0.88, "#2a6aa8")],
    "Ocean": [(0.00, "#010b1c"), (0.20, "#03325e"), (0.40, "#08789a"), (0.55, "#2fc4b2"),
              (0.65, "#d8fff4"), (0.78, "#1a9fb0"), (0.90, "#04406e")],
    "Aurora": [(0.00, "#050a1f"), (0.18, "#0f5a4a"), (0.34, "#3df59a"), (0.48, "#19b5a8"),
               (0.62, "#6a3fd1"), (0.76, "#e05bd0"), (0.88, "#2a1656")],
    "Neon": [(0.00, "#07010f"), (0.14, "#ff2e93"), (0.30, "#1a0530"), (0.46, "#12f7ff"),
             (0.62, "#07102a"), (0.78, "#b6ff2e"), (0.90, "#2b0a3d")],
    "Pastel": [(0.00, "#f7b6c8"), (0.17, "#fbd3b0"), (0.33, "#f8f1b0"), (0.50, "#bdeccb"),
               (0.67, "#b5dcf5"), (0.83, "#d4c2f2")],
    "Monochrome": [(0.00, "#050505"), (0.50, "#f4f4f4")],
    "Sunset": [(0.00, "#1c0b3a"), (0.20, "#6b1d6e"), (0.38, "#d4386a"), (0.54, "#ff8a3d"),
               (0.66, "#ffd56b"), (0.80, "#e5566a"), (0.92, "#45185e")],
    "Forest": [(0.00, "#07140a"), (0.22, "#1f4a1c"), (0.40, "#5c8a2e"), (0.54, "#b8c95a"),
               (0.66, "#d9a441"), (0.80, "#6b4a22"), (0.92, "#183016")],
    "Desert": [(0.00, "#2b1a2f"), (0.20, "#8a3b2b"), (0.38, "#d0733a"), (0.54, "#f0c27a"),
               (0.66, "#fbe9c6"), (0.80, "#c98a4b"), (0.92, "#5b2b33")],
    "Lava": [(0.00, "#020101"), (0.30, "#1a0a08"), (0.44, "#8f0f05"), (0.54, "#ff4a0a"),
             (0.60, "#ffd04a"), (0.68, "#ff5a0c"), (0.80, "#5a0a04")],
    "Glacier": [(0.00, "#0c2a33"), (0.22, "#1f6e73"), (0.42, "#7fd1c7"), (0.56, "#f2fffb"),
                (0.70, "#9ad9e8"), (0.86, "#2d7f96")],
    "Copper": [(0.00, "#120806"), (0.22, "#5a2412"), (0.40, "#b8602e"), (0.54, "#f2b27a"),
               (0.64, "#ffe2c4"), (0.76, "#4fa58f"), (0.88, "#1d4a44")],
    "Gold Leaf": [(0.00, "#140d04"), (0.25, "#5e3f0e"), (0.45, "#c99a2e"), (0.58, "#fff0b0"),
                  (0.70, "#d6a93a"), (0.86, "#4a300a")],
    "Twilight": [(0.00, "#0b0a26"), (0.22, "#30216b"), (0.42, "#8b4fb3"), (0.56, "#f0a3c4"),
                 (0.68, "#ffe3e8"), (0.80, "#6b7fd1"), (0.92, "#1b2456")],
    "Nebula": [(0.00, "#05020d"), (0.16, "#3a0c5c"), (0.32, "#c2308f"), (0.44, "#ffc2e0"),
               (0.52, "#fffaff"), (0.62, "#5d8cff"), (0.78, "#1a2a7a"), (0.90, "#140628")],
    "Prism": [(0.00, "#e8405a"), (0.17, "#f2a03a"), (0.33, "#d8d83a"), (0.50, "#3ac27a"),
              (0.67, "#3a8ee8"), (0.83, "#9a52e0")],
    "Midnight Ink": [(0.00, "#020409"), (0.30, "#0d1a3a"), (0.50, "#3a5a8a"),
                     (0.60, "#c9d6e8"), (0.70, "#3a5a8a"), (0.85, "#0d1a3a")],
    "Sepia": [(0.00, "#1a0f08"), (0.25, "#5e3c22"), (0.45, "#a87e52"), (0.60, "#f3e3c3"),
              (0.75, "#9c6e44"), (0.90, "#3a2414")],
    "Orchid": [(0.00, "#1d0826"), (0.22, "#6a1f7a"), (0.40, "#c45ab8"), (0.54, "#f7c6ec"),
               (0.64, "#fff5fb"), (0.78, "#9d6fd6"), (0.90, "#3a1a5e")],
    "Citrus": [(0.00, "#1f2a05"), (0.20, "#5e9a12"), (0.36, "#c4e83a"), (0.50, "#fff35a"),
               (0.64, "#ffb01f"), (0.78, "#f0641a"), (0.90, "#6a3208")],
    "Thunderstorm": [(0.00, "#0e1117"), (0.30, "#39424f"), (0.46, "#8d99a8"), (0.54, "#fff6a8"),
                     (0.60, "#b0bac6"), (0.76, "#2c333d")],
    "Coral Reef": [(0.00, "#032a3a"), (0.18, "#0a8a9a"), (0.34, "#7ae0c4"), (0.48, "#ffe9a8"),
                   (0.62, "#ff8a6a"), (0.76, "#e0466a"), (0.90, "#2a2a5e")],
    "Emberglass": [(0.00, "#061018"), (0.24, "#12485e"), (0.40, "#5ac0c8"), (0.50, "#fff0d8"),
                   (0.60, "#ff9a4a"), (0.76, "#a02a1a"), (0.90, "#1a0a10")],
}

# The online library: collections of palettes that the program does not ship.
ONLINE_COLLECTIONS = {
    ("seasons", "Seasons", "Seasons by Glimmerscape"): {
        "Spring Blossom": [(0.00, "#2a1a2e"), (0.22, "#9a4a7a"), (0.40, "#f7a8c8"),
                           (0.54, "#fff8f0"), (0.66, "#b8e08a"), (0.82, "#3f7a3a")],
        "Summer Haze": [(0.00, "#0a3a5a"), (0.22, "#3aa0c8"), (0.40, "#c8ecf2"),
                        (0.54, "#ffe48a"), (0.68, "#ff9a5a"), (0.84, "#b84a5a")],
        "Autumn Ember": [(0.00, "#1a0c06"), (0.20, "#6e2410"), (0.38, "#c8561a"),
                         (0.52, "#f2b43a"), (0.64, "#8a7a2a"), (0.80, "#4a2a12")],
        "Winter Frost": [(0.00, "#0a1222"), (0.24, "#3a4a6e"), (0.44, "#a8b8d8"),
                         (0.58, "#ffffff"), (0.72, "#b8d0e8"), (0.88, "#2a3a5e")],
    },
    ("minerals", "Minerals", "Minerals by Glimmerscape"): {
        "Amethyst": [(0.00, "#12061e"), (0.25, "#4a1a7a"), (0.45, "#9a5ad0"),
                     (0.58, "#e8d0ff"), (0.72, "#7a3ab0"), (0.88, "#2a0e4a")],
        "Malachite": [(0.00, "#02140c"), (0.20, "#0a4a2e"), (0.36, "#1a9a5e"),
                      (0.48, "#8af0b8"), (0.60, "#12804a"), (0.78, "#04301c")],
        "Lapis": [(0.00, "#050a2a"), (0.26, "#1a2e8a"), (0.44, "#3a5ae0"),
                  (0.54, "#f2c84a"), (0.62, "#3050c8"), (0.82, "#0e1a5a")],
        "Obsidian": [(0.00, "#020203"), (0.36, "#15161c"), (0.50, "#5a5e6e"),
                     (0.56, "#d8dcf0"), (0.64, "#4a4e5e"), (0.84, "#0c0c10")],
        "Rhodochrosite": [(0.00, "#2a0a14"), (0.24, "#8a2a4a"), (0.42, "#e0708a"),
                          (0.56, "#ffe0e4"), (0.70, "#c8506a"), (0.86, "#5a1428")],
    },
    ("retro", "Retro Screens", "Retro Screens by Glimmerscape"): {
        "Phosphor": [(0.00, "#010601"), (0.40, "#0a3a0a"), (0.56, "#3aff5a"),
                     (0.62, "#d8ffd0"), (0.70, "#2ac84a"), (0.86, "#062006")],
        "Synthwave": [(0.00, "#0d0221"), (0.20, "#261447"), (0.36, "#ff3864"),
                      (0.50, "#ffd319"), (0.62, "#ff7a3a"), (0.76, "#2de2e6"),
                      (0.90, "#1a0b3a")],
        "Amber Terminal": [(0.00, "#0a0500"), (0.40, "#3a1e00"), (0.56, "#ffb000"),
                           (0.62, "#fff0c0"), (0.70, "#e08a00"), (0.86, "#2a1400")],
    },
}


# ---- colour maths: sRGB <-> OKLab ----

def srgb_to_linear(c):
    return c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4


def linear_to_srgb(c):
    c = min(max(c, 0.0), 1.0)
    return 12.92 * c if c <= 0.0031308 else 1.055 * c ** (1 / 2.4) - 0.055


def to_oklab(rgb):
    r, g, b = (srgb_to_linear(c) for c in rgb)
    l = 0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b
    m = 0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b
    s = 0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b
    l, m, s = (math.copysign(abs(v) ** (1 / 3), v) for v in (l, m, s))
    return (0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s)


def from_oklab(lab):
    L, a, b = lab
    l = (L + 0.3963377774 * a + 0.2158037573 * b) ** 3
    m = (L - 0.1055613458 * a - 0.0638541728 * b) ** 3
    s = (L - 0.0894841775 * a - 1.2914855480 * b) ** 3
    rgb = (4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
           -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
           -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)
    return tuple(linear_to_srgb(c) for c in rgb)


def hex_rgb(text):
    text = text.lstrip("#")
    return tuple(int(text[i:i + 2], 16) / 255.0 for i in (0, 2, 4))


# ---- palettes ----

def ease(t):
    """Smoothstep: the colour lingers a little at each stop, so bands read as bands."""
    return t * t * (3 - 2 * t)


def build(stops, n=256):
    """n colours around the cycle; the last stop blends back into the first."""
    stops = sorted(stops)
    labs = [to_oklab(hex_rgb(c)) for _, c in stops]
    table = []
    for i in range(n):
        x = i / n
        before = [j for j, (pos, _) in enumerate(stops) if pos <= x]
        if before:  # between a stop and the next, the last one blending into the first
            a = before[-1]
            b = (a + 1) % len(stops)
            start, end = stops[a][0], stops[b][0] + (1.0 if b == 0 else 0.0)
        else:  # before the first stop: still on the way from the last one
            a, b = len(stops) - 1, 0
            start, end = stops[a][0] - 1.0, stops[b][0]
        t = ease((x - start) / (end - start)) if end > start else 0.0
        lab = tuple(p + (q - p) * t for p, q in zip(labs[a], labs[b]))
        table.append(from_oklab(lab))
    return table


def map_text(table):
    lines = []
    for rgb in table:
        lines.append(" ".join(str(min(255, max(0, int(math.floor(c * 255 + 0.5))))) for c in rgb))
    return "\n".join(lines) + "\n"


def write_map(folder, name, stops):
    os.makedirs(folder, exist_ok=True)
    table = build(stops)
    with open(os.path.join(folder, name + ".map"), "w", encoding="utf-8", newline="\n") as f:
        f.write(map_text(table))
    return table


def swatch(stops):
    return ["#%02x%02x%02x" % tuple(round(c * 255) for c in hex_rgb(h)) for _, h in sorted(stops)]


def write_png(path, rows):
    """rows: list of lists of (r, g, b) in 0..1, all the same length."""
    height, width = len(rows), len(rows[0])
    raw = b"".join(b"\0" + bytes(int(round(c * 255)) for px in row for c in px) for row in rows)
    chunk = lambda tag, data: (struct.pack(">I", len(data)) + tag + data +
                               struct.pack(">I", zlib.crc32(tag + data) & 0xFFFFFFFF))
    png = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
           + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))
    with open(path, "wb") as f:
        f.write(png)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--strip", help="also draw every palette as a strip into this PNG")
    args = parser.parse_args()
    tables = []
    for name, stops in BUILT_IN_PALETTES.items():
        tables.append(write_map(BUILT_IN, name, stops))
    manifest = {"manifestVersion": 1, "collections": []}
    for (cid, title, credit), palettes in ONLINE_COLLECTIONS.items():
        entries = []
        for name, stops in palettes.items():
            tables.append(write_map(os.path.join(ONLINE, cid), name, stops))
            entries.append({"name": name, "file": name + ".map", "swatch": swatch(stops)})
        manifest["collections"].append({
            "id": cid, "title": title, "path": cid,
            "credit": credit, "palettes": entries})
    with open(os.path.join(ONLINE, "manifest.json"), "w", encoding="utf-8", newline="\n") as f:
        json.dump(manifest, f, indent=2, ensure_ascii=False)
        f.write("\n")
    if args.strip:
        rows = []
        for table in tables:
            rows += [[table[x * 256 // 512] for x in range(512)]] * 18 + [[(0.1, 0.1, 0.1)] * 512] * 2
        write_png(args.strip, rows)


if __name__ == "__main__":
    main()
