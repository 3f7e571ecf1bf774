#!/usr/bin/env bash
# End to end: advanced mode in the real program on a virtual X display. Clicks the mode tag
# into advanced mode, opens CURVE's help card with a click on its name, raises CURVE two steps
# with the keyboard, closes the card with Escape, goes back to standard mode (the amber dot must
# show, on screen too), quits with Ctrl+Q, starts again with the same home and finds the dot and,
# in advanced mode again, the value.
# Usage: e2e_tuning.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_tuning.sh PATH/TO/glimmerscape}

source "$(dirname "$0")/e2e_common.sh"

mode_line() { grep '^tuning mode=' "$work/out" | tail -n1; }
slider_line() { grep "^tuning slider=$1 " "$work/out" | tail -n1; }
# Runs a test command until it holds (10 s at most).
wait_until() {
    for _ in $(seq 100); do "$@" && return 0; sleep 0.1; done
    return 1
}
mode_has() { [[ "$(mode_line)" == *"$1"* ]]; }
slider_shows() { [ "$(field value "$(slider_line "$1")")" = "$2" ]; }
centre() { IFS=, read -r x y w h <<<"$1"; echo "$((x + w / 2)) $((y + h / 2))"; }
# Clicks the mode tag, then moves the pointer off it (so that no tooltip covers the dot).
click_tag() {
    read -r tx ty <<<"$(centre "$(field tag "$(mode_line)")")"
    xdotool mousemove "$tx" "$ty" click 1 mousemove 0 0
}
# The dot is traced where it is drawn; its middle must be amber on screen.
expect_amber_dot() {
    local dot=$(field dot "$(mode_line)") r g b
    [ "$dot" != hidden ] || fail "the amber dot is hidden: $(mode_line)"
    read -r dx dy <<<"$(centre "$dot")"
    for _ in $(seq 30); do
        shoot dot.png
        read -r r g b <<<"$(pixel "$dx" "$dy" dot.png)"
        [ "$r" -gt 220 ] && [ "$g" -gt 140 ] && [ "$g" -lt 215 ] && [ "$b" -lt 100 ] && return 0
        sleep 0.1
    done
    fail "the dot at $dx,$dy is ($r,$g,$b), not amber"
}

wait_for_first_picture
mode_has "mode=standard" && mode_has "dot=hidden" || fail "unexpected start: $(mode_line)"

click_tag
wait_until mode_has "mode=advanced" || fail "the mode tag did not switch to advanced mode"
# The panel takes its room from the picture, which renders again at its new size.
wait_for_picture 2 >/dev/null || fail "no picture after the panel opened"
wait_until slider_shows CURVE 1.00 || fail "CURVE is not on screen at 1.00: $(slider_line CURVE)"
IFS=, read -r cx cy cw ch <<<"$(field at "$(slider_line CURVE)")"
echo "advanced: $(mode_line)"
echo "curve:    $(slider_line CURVE)"

xdotool mousemove $((cx + 10)) $((cy + ch / 2)) click 1
wait_until mode_has "help=CURVE" || fail "a click on CURVE's name did not open its help"
xdotool key Right Right
wait_until slider_shows CURVE 1.21 || fail "two steps up did not take CURVE to 1.21: $(slider_line CURVE)"
xdotool key Escape
wait_until mode_has "help=none" || fail "Escape did not close the help card"

click_tag
wait_until mode_has "mode=standard" || fail "the tag did not go back to standard mode"
expect_amber_dot
echo "standard: $(mode_line)"

xdotool key ctrl+q
wait_until eval '! kill -0 "$app_pid" 2>/dev/null' || fail "Ctrl+Q did not quit"
wait "$app_pid" 2>/dev/null
grep -Eq 'curve[\\"]*:1\.21' "$XDG_CONFIG_HOME/glimmerscape/glimmerscape.conf" || fail "CURVE was not saved"

start_program
wait_for_first_picture
mode_has "mode=standard" || fail "restarted in another mode: $(mode_line)"
expect_amber_dot
click_tag
wait_until mode_has "mode=advanced" || fail "the mode tag did not switch to advanced mode after the restart"
wait_until slider_shows CURVE 1.21 || fail "CURVE did not come back at 1.21: $(slider_line CURVE)"
echo "restart:  $(slider_line CURVE)"
echo "PASS"
