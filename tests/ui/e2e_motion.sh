#!/usr/bin/env bash
# End to end: motion in the real program on a virtual X display. Switches auto-explore on and
# waits for it to zoom twice on its own (one interval after each completed picture), then
# switches it off, starts the palette animation and checks that two screenshots a second apart
# differ while the view stays put; then full screen (F11) must give the picture as much of the
# screen as its proportions allow, and Escape the window back.
# Usage: e2e_motion.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_motion.sh PATH/TO/glimmerscape}

source "$(dirname "$0")/e2e_common.sh"

wait_for_first_picture

# Without a window manager the window gets the keyboard only after a click; a plain click on
# the picture with no zoom box shown does nothing else.
xdotool mousemove $((px + 5)) $((py + 5)) click 1
sleep 0.6
xdotool key ctrl+shift+a
second=$(wait_for_picture 2) || fail "auto-explore did not zoom"
echo "auto 1: $second"
third=$(wait_for_picture 3) || fail "auto-explore did not zoom a second time"
echo "auto 2: $third"
for line in "$second" "$third"; do
    [ "$(field zoom "$line")" != "1.0×" ] || fail "auto-explore picture still at the home zoom"
done
[ "$(field center "$second")" != "$(field center "$first")" ] || fail "first step kept the centre"
[ "$(field center "$third")" != "$(field center "$second")" ] || fail "second step kept the centre"

xdotool key ctrl+shift+a ctrl+y
sleep 0.5
shoot a.png
sleep 1
shoot b.png
changed=$(compare -metric AE -crop "${pw}x${ph}+${px}+${py}" "$work/a.png" "$work/b.png" null: 2>&1 | cut -d' ' -f1)
echo "animation: $changed of $((pw * ph)) picture pixels changed in a second"
[ "${changed%.*}" -gt $((pw * ph / 20)) ] 2>/dev/null || fail "the animation did not visibly change the picture"
[ "$(grep -c '^picture complete' "$work/out")" -eq 3 ] || fail "the view changed after auto-explore was switched off"

# The window may pass through its own size first (then the picture renders twice). In full
# screen the 4:3 picture is as large as the screen allows, centred on black.
xdotool key ctrl+y F11
read -r sw sh <<<"$(xdotool getdisplaygeometry)"
fw=$sw fh=$(((sw * 3 + 2) / 4))
if [ "$fh" -gt "$sh" ]; then fh=$sh fw=$(((sh * 4 + 1) / 3)); fi
screen="$(((sw - fw) / 2)),$(((sh - fh) / 2)),$fw,$fh"
n=4
full=$(wait_for_picture $n) || fail "no picture in full screen"
if [ "$(field picture "$full")" != "$screen" ]; then
    n=$((n + 1))
    full=$(wait_for_picture $n) || fail "no second picture in full screen"
fi
echo "full:   $full"
[ "$(field picture "$full")" = "$screen" ] || fail "the full-screen picture is not $screen"
xdotool key Escape
back=$(wait_for_picture $((n + 1))) || fail "no picture after leaving full screen"
echo "back:   $back"
[ "$(field picture "$back")" = "$px,$py,$pw,$ph" ] || fail "leaving full screen did not give the window back"
echo "PASS"
