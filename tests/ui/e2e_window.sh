#!/usr/bin/env bash
# End to end: the real program on a virtual X display. Waits for the first complete picture,
# checks on a screenshot that the main cardioid is black and the corner coloured, draws a zoom
# box with Shift+drag, clicks into it, checks the status texts, opens and closes the help, then
# goes back with Ctrl+Left.
# Usage: e2e_window.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_window.sh PATH/TO/glimmerscape}

source "$(dirname "$0")/e2e_common.sh"

wait_for_first_picture
[ "$(field zoom "$first")" = "1.0×" ] || fail "unexpected first zoom text"
[ "$(field iter "$first")" = "255" ] || fail "unexpected first iteration ceiling"

# The home view spans -2.5..1.5: c = -0.62 + 0i lies inside the main cardioid.
inside_x=$((px + pw * 47 / 100)) inside_y=$((py + ph / 2))
corner_x=$((px + 3)) corner_y=$((py + 3))
ok=
for _ in $(seq 50); do  # the picture reaches the screen on the next repaint
    import -window root "$work/shot.png" 2>/dev/null
    read -r r g b <<<"$(pixel $inside_x $inside_y)"
    read -r cr cg cb <<<"$(pixel $corner_x $corner_y)"
    if [ "$r$g$b" = "000" ] && [ $((cr > cg ? (cr > cb ? cr : cb) : (cg > cb ? cg : cb))) -gt 60 ]; then
        ok=1; break
    fi
    sleep 0.1
done
[ -n "$ok" ] || fail "cardioid pixel ($r,$g,$b) should be black, corner ($cr,$cg,$cb) coloured"
echo "screenshot: cardioid black, corner ($cr,$cg,$cb)"

# A box from a point on the upper boundary, Shift+drag, then a click inside it.
x0=$((px + pw * 55 / 100)) y0=$((py + ph * 20 / 100))
x1=$((x0 + pw / 8)) y1=$((y0 + ph / 8))
xdotool mousemove "$x0" "$y0" keydown shift mousedown 1 \
    mousemove $((x0 + 10)) $((y0 + 10)) mousemove "$x1" "$y1" mouseup 1 keyup shift
sleep 0.3
xdotool mousemove $(((x0 + x1) / 2)) $(((y0 + y1) / 2)) click 1
second=$(wait_for_picture 2) || fail "no picture after the zoom"
echo "zoomed: $second"
[ "$(field zoom "$second")" = "8.0×" ] || fail "zoom text should read 8.0×"
[ "$(field center "$second")" != "$(field center "$first")" ] || fail "centre did not change"
[ "$(field iter "$second")" = "555" ] || fail "iteration ceiling should be 555 at zoom 8"

# The help window opens and closes from the keyboard; the window's keys work again at once:
# back through the history.
xdotool key F1
sleep 0.5
xdotool key Escape
sleep 0.3
xdotool key ctrl+Left
third=$(wait_for_picture 3) || fail "no picture after the help and Ctrl+Left"
echo "back:   $third"
[ "$(field zoom "$third")" = "1.0×" ] || fail "Ctrl+Left should return to the home view"
echo "PASS"
