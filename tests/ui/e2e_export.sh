#!/usr/bin/env bash
# End to end: the real program on a virtual X display. Once the first picture is on screen,
# Ctrl+S writes it to the temporary directory and opens the save dialog, which xdotool accepts
# as it is offered (the Pictures folder, the temporary file's name); the file that lands there
# must be the picture on the screenshot, pixel for pixel.
# Usage: e2e_export.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_export.sh PATH/TO/glimmerscape}

exports=$(mktemp -d)  # the program's temporary directory, so nothing is left in /tmp
export TMPDIR=$exports
source "$(dirname "$0")/e2e_common.sh"
trap 'rm -rf "$exports"; cleanup' EXIT

wait_for_first_picture
# The picture as the screen shows it, once two screenshots agree (the repaint follows the trace).
previous=
for _ in $(seq 50); do
    shoot shot.png
    convert "$work/shot.png" -crop "${pw}x${ph}+${px}+${py}" +repage "$work/screen.png"
    current=$(identify -format '%#' "$work/screen.png")  # of the pixels alone
    [ "$current" = "$previous" ] && break
    previous=$current
    sleep 0.2
done

# A click on the picture (no box is shown, so it does nothing) gives the window the keyboard.
xdotool mousemove $((px + pw / 2)) $((py + ph / 2)) click 1
sleep 0.3
xdotool key ctrl+s
for _ in $(seq 200); do xdotool search --name '^Save Image$' >/dev/null 2>&1 && break; sleep 0.1; done
xdotool search --name '^Save Image$' >/dev/null 2>&1 || fail "Ctrl+S opened no save dialog"
sleep 0.3
xdotool key Return

saved=
for _ in $(seq 50); do
    saved=$(ls "$HOME"/Pictures/Glimmerscape-*.png 2>/dev/null | head -n 1)
    [ -n "$saved" ] && break
    sleep 0.1
done
[ -n "$saved" ] || fail "nothing was saved in $HOME/Pictures"
echo "saved:  $saved"
[ -f "$exports/$(basename "$saved")" ] || fail "the temporary file is not in the temporary directory"
[ "$(identify -format '%wx%h' "$saved")" = "${pw}x${ph}" ] || fail "the file is not the picture's size"
differing=$(compare -metric AE "$saved" "$work/screen.png" null: 2>&1)
[ "$differing" = "0" ] || fail "$differing pixels differ from the picture on screen"
echo "PASS"
