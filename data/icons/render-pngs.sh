#!/bin/sh
# Renders the fixed-size PNG icons from the scalable SVG. Run it (or `make icons`) after
# changing the SVG, look at every size, and commit the PNGs with it.
set -eu
cd "$(dirname "$0")/hicolor"
icon=com.brellowmik.Glimmerscape
for size in 16 22 24 32 48 64 128 256 512; do
    mkdir -p "${size}x${size}/apps"
    rsvg-convert --width="$size" --height="$size" \
        --output="${size}x${size}/apps/$icon.png" "scalable/apps/$icon.svg"
done
