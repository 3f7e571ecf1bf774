#!/bin/sh
# Without a display the program says so in one line and exits with status 1 instead of letting
# Qt abort; --help and --version still work.
# Usage: window_without_display.sh PATH/TO/glimmerscape
program=${1:?usage: window_without_display.sh PATH/TO/glimmerscape}
bare() { env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$program" "$@"; }
out=$(bare 2>&1); status=$?
[ "$status" -eq 1 ] || { echo "FAIL: status $status"; exit 1; }
[ "$out" = 'glimmerscape: no display; `glimmerscape render` makes pictures without one' ] ||
    { echo "FAIL: printed: $out"; exit 1; }
bare --version | grep -q '^glimmerscape [0-9]' || { echo "FAIL: --version"; exit 1; }
bare --help | grep -q 'glimmerscape render' || { echo "FAIL: --help"; exit 1; }
echo PASS
