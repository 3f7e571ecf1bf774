#!/usr/bin/env bash
# End to end: palettes in the real program on a virtual X display, from the keyboard. Opens the
# palette browser (Ctrl+P), applies the first built-in palette and checks on screenshots that
# the picture's colours changed; then opens the online library (a file:// library on the
# repository's library/ folder), selects two palettes, imports them, dismisses the report and
# closes the library, and checks that both files are in the user's palette folder.
# Usage: e2e_palettes.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_palettes.sh PATH/TO/glimmerscape}
repository=$(cd "$(dirname "$0")/../.." && pwd)
export GLIMMERSCAPE_LIBRARY_URL="file://$repository/library"

source "$(dirname "$0")/e2e_common.sh"

wait_for_first_picture
corner_x=$((px + 4)) corner_y=$((py + 4))
for _ in $(seq 50); do  # the first picture reaches the screen on the next repaint
    shoot before.png
    read -r r0 g0 b0 <<<"$(pixel $corner_x $corner_y before.png)"
    [ "$r0$g0$b0" != "000" ] && break
    sleep 0.1
done
echo "before: corner ($r0,$g0,$b0)"

# Without a window manager the window gets the keyboard only after a click; a plain click on
# the picture with no zoom box shown does nothing else.
xdotool mousemove "$corner_x" "$corner_y" click 1
sleep 0.6
xdotool key ctrl+p
sleep 0.6
xdotool key Return  # the browser opens on the first built-in palette
changed=
for _ in $(seq 50); do
    shoot after.png
    read -r r1 g1 b1 <<<"$(pixel $corner_x $corner_y after.png)"
    if [ "$r1 $g1 $b1" != "$r0 $g0 $b0" ]; then changed=1; break; fi
    sleep 0.1
done
[ -n "$changed" ] || fail "the corner kept its colour ($r0,$g0,$b0) after a palette was applied"
echo "after:  corner ($r1,$g1,$b1)"

# Tab from the list reaches Save Current…, Import Local… and Online Library….
xdotool key Tab Tab Tab space
sleep 2  # the screen opens and reads the manifest
xdotool key space Down space Tab space
folder=$XDG_DATA_HOME/glimmerscape/Palettes
for _ in $(seq 100); do
    [ -f "$folder/Spring Blossom.map" ] && [ -f "$folder/Summer Haze.map" ] && break
    sleep 0.1
done
[ -f "$folder/Spring Blossom.map" ] && [ -f "$folder/Summer Haze.map" ] ||
    fail "the two palettes were not imported: $(ls "$folder" 2>&1)"
[ "$(grep -c . "$folder/Summer Haze.map")" = 256 ] || fail "an imported palette is not 256 lines"
sleep 0.5
shoot report.png
xdotool key Return  # dismisses the report
sleep 0.5
xdotool key Escape  # closes the online library
sleep 0.5
xdotool key Escape  # closes the browser
sleep 0.5
kill -0 "$app_pid" 2>/dev/null || fail "the program ended"
echo "imported: $(ls "$folder" | tr '\n' ' ')"
echo "PASS"
