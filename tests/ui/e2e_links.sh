#!/usr/bin/env bash
# End to end: glimmerscape:// links on a virtual X display, as the desktop hands them over.
# Registers the scheme for a temporary user, starts the program, opens a link with xdg-open and
# checks that the running window shows the link's view (the trace line's centre and zoom), that
# the process xdg-open started handed the link over and exited, that no second window appeared,
# and that "Add Bookmark?" keeps it. Then starts the program afresh with a link on its command
# line, which must be shown once the window is up.
# Usage: e2e_links.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_links.sh PATH/TO/glimmerscape}
program=$(realpath "$program")
repo=$(cd "$(dirname "$0")/../.." && pwd)
command -v xdg-open >/dev/null || { echo "FAIL: xdg-open (xdg-utils) is not installed"; exit 1; }

e2e_defer_start=1
source "$(dirname "$0")/e2e_common.sh"
unset XDG_CURRENT_DESKTOP DESKTOP_SESSION  # xdg-open's own generic handling, as on a bare X server

# Waits for a complete picture whose zoom and centre are the given ones; prints its line.
wait_for_view() {
    for _ in $(seq 300); do
        line=$(grep "^picture complete zoom=$1 .*center=$2 " "$work/out" | tail -n 1)
        [ -n "$line" ] && { echo "$line"; return 0; }
        kill -0 "$app_pid" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}
shown_windows() { xdotool search --onlyvisible --name '^Glimmerscape$' 2>/dev/null | wc -l; }
# Presses Return in the alert titled $1 (a bare X server gives it no keyboard by itself).
answer() {
    local alert
    for _ in $(seq 50); do
        alert=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | head -n 1)
        [ -n "$alert" ] && break
        sleep 0.1
    done
    [ -n "$alert" ] || fail "no alert titled '$1'"
    xdotool windowfocus --sync "$alert" key Return
}

"$repo/data/register-scheme.sh" "$program" >/dev/null || fail "register-scheme.sh failed"
[ "$(xdg-mime query default x-scheme-handler/glimmerscape)" = com.brellowmik.Glimmerscape.desktop ] ||
    fail "the scheme is not registered for the temporary user"

start_program
wait_for_first_picture
link=$("$program" link "$repo/src/library/bookmarks/mini-brot.json") || fail "glimmerscape link failed"
xdg-open "$link" >"$work/xdg-open.log" 2>&1 || { cat "$work/xdg-open.log"; fail "xdg-open failed"; }
view=$(wait_for_view '50.0×' '-1.7549+0.0000i') || fail "the running window did not show the link's view"
echo "opened: $view"
sleep 0.5
pgrep -f -- "$program glimmerscape:" >/dev/null && fail "the process xdg-open started is still running"
[ "$(shown_windows)" = 1 ] || fail "$(shown_windows) windows are shown, not one"
answer 'Add Bookmark\?'
for _ in $(seq 50); do grep -q '"Mini-brot on the Needle"' "$XDG_DATA_HOME/glimmerscape/Bookmarks.json" 2>/dev/null && break; sleep 0.1; done
grep -q '"Mini-brot on the Needle"' "$XDG_DATA_HOME/glimmerscape/Bookmarks.json" 2>/dev/null ||
    fail "Add did not keep the bookmark"

# A link given at start waits for the window, then is shown like a delivered one.
kill "$app_pid"
wait "$app_pid" 2>/dev/null
link=$("$program" link "$repo/src/library/bookmarks/needle-spirals.json") || fail "glimmerscape link failed"
start_program "$link"
view=$(wait_for_view '9.1×10⁷×' '-1.7498+0.0000i') || fail "the link given at start was not shown"
echo "at start: $view"
answer 'Add Bookmark\?'
[ "$(shown_windows)" = 1 ] || fail "$(shown_windows) windows are shown, not one"
echo "PASS"
