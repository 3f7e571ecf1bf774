#!/usr/bin/env bash
# End to end: a storm of input on a virtual X display. Starts the real program at a deep view
# (a built-in bookmark given as a link, zoomed further) and sends 500 random actions, paced to fit in about a
# minute: wheel and keyboard zooms, drags and clicks on the picture, history steps, window
# resizes, the shadings and a new palette, palette animation and auto-explore switched on and
# off. Then it switches motion off and asks the program, on its standard input, for "ping"
# (answered within 2 seconds: the window is responsive) and "check" (once the last render has
# finished: a hash of the picture on screen and of a fresh render of the same view and
# colours, which must be equal).
# GS_STORM_SEED repeats a run (the seed is printed); GS_STORM_ACTIONS changes the count.
# Usage: e2e_storm.sh PATH/TO/glimmerscape      Exit 77 (skipped) when Xvfb is missing.
set -u
program=${1:?usage: e2e_storm.sh PATH/TO/glimmerscape}
program=$(realpath "$program")
repo=$(cd "$(dirname "$0")/../.." && pwd)
seed=${GS_STORM_SEED:-$(( $(date +%s%N) % 32768 ))}
actions=${GS_STORM_ACTIONS:-500}
echo "storm: GS_STORM_SEED=$seed, $actions actions"
RANDOM=$seed

e2e_defer_start=1
e2e_cleanup() { exec 4>&- 2>/dev/null; }
source "$(dirname "$0")/e2e_common.sh"

link=$("$program" link "$repo/src/library/bookmarks/needle-spirals.json") || fail "glimmerscape link failed"
mkfifo "$work/in"
exec 4<>"$work/in"  # held open, so the program never reads an end of input
GLIMMERSCAPE_TRACE=1 "$program" "$link" <"$work/in" >"$work/out" 2>"$work/err" &
app_pid=$!
wait_for_first_picture

# The link asks whether to keep it; the alert is dismissed like a user would.
for _ in $(seq 100); do
    alert=$(xdotool search --onlyvisible --name '^Add Bookmark\?$' 2>/dev/null | head -n 1)
    [ -n "$alert" ] && break
    sleep 0.1
done
[ -n "$alert" ] && xdotool windowfocus --sync "$alert" key Escape
window=$(xdotool search --onlyvisible --name '^Glimmerscape$' | head -n 1)
[ -n "$window" ] || fail "no window"
xdotool mousemove $((px + pw / 2)) $((py + ph / 2)) click 1
sleep 0.5
# Eight zooms into the middle first ("+" doubles): a history deep enough that walking back rarely
# reaches home.
for _ in $(seq 8); do xdotool key plus; sleep 0.3; done

# A random point on the picture as it is now (the window moves and resizes), and the power of
# ten of the last picture's zoom (0 below 10 thousand, where the zoom is written plainly).
deep_actions=0
spot() {
    local line zoom
    line=$(grep '^picture complete' "$work/out" | tail -n 1)
    IFS=, read -r px py pw ph <<<"$(field picture "$line")"
    zoom=$(field zoom "$line")
    power=0
    case $zoom in *×10*)
        power=$(sed 's/.*×10//; s/×$//; s/⁰/0/g; s/¹/1/g; s/²/2/g; s/³/3/g; s/⁴/4/g; s/⁵/5/g; s/⁶/6/g; s/⁷/7/g; s/⁸/8/g; s/⁹/9/g' <<<"$zoom")
        deep_actions=$((deep_actions + 1)) ;;
    esac
    x=$((px + 10 + RANDOM % (pw > 20 ? pw - 20 : 1)))
    y=$((py + 10 + RANDOM % (ph > 20 ? ph - 20 : 1)))
}
act() {
    spot
    local choice=$((RANDOM % 16))
    # The storm stays deep but clear of the zoom limit (5×10¹⁵, which resets the view): away from
    # the deep view, steps further out (wheel out, history back, minus) zoom in instead; near the
    # limit, zooms in zoom out.
    [ "$power" -lt 8 ] && case $choice in 3 | 7 | 13) choice=6 ;; esac
    [ "$power" -ge 12 ] && case $choice in 0 | 1 | 2 | 6 | 15) choice=3 ;; esac
    case $choice in
    0 | 1 | 2) xdotool mousemove $x $y click 4 ;;  # wheel zoom in
    3) xdotool mousemove $x $y click 5 ;;          # and out, less often: the view stays deep
    4) xdotool mousemove $x $y mousedown 1 mousemove $((x + RANDOM % 60)) $((y + RANDOM % 60)) mouseup 1 ;;
    5) xdotool mousemove $x $y click 1 ;;
    6) xdotool key --delay 0 plus ;;
    7) xdotool key --delay 0 ctrl+Left ;;
    8) xdotool key --delay 0 ctrl+Right ;;
    9) xdotool windowsize "$window" $((700 + RANDOM % 500)) $((520 + RANDOM % 380)) ;;
    10 | 11) xdotool key --delay 0 ctrl+y ;;
    12) xdotool key --delay 0 ctrl+shift+a ;;
    13) xdotool key --delay 0 $(echo ctrl+d ctrl+g ctrl+t ctrl+e minus | cut -d' ' -f$((1 + RANDOM % 5))) ;;
    14) xdotool key --delay 0 ctrl+shift+r ;;
    15) xdotool key --delay 0 Up Up Return ;;  # a keyboard zoom box, moved and taken
    esac
}
start=$(date +%s%N)
for i in $(seq "$actions"); do
    act
    kill -0 "$app_pid" 2>/dev/null || fail "the program ended during action $i"
    # About 110 ms an action: sleep only when ahead of that pace.
    ahead=$(( i * 110 - ($(date +%s%N) - start) / 1000000 ))
    [ "$ahead" -gt 0 ] && sleep "0.$(printf %03d $((ahead > 999 ? 999 : ahead)))"
done
storm_ms=$(( ($(date +%s%N) - start) / 1000000 ))
echo "storm: $actions actions in $storm_ms ms, $deep_actions of them at a deep view," \
    "$(grep -c '^picture complete' "$work/out") pictures completed"

# Sends a command and waits up to $2 seconds for the first new line starting with $3.
ask() {
    local before
    before=$(grep -c "^$3" "$work/out")
    echo "$1" >&4
    for _ in $(seq $(($2 * 20))); do
        [ "$(grep -c "^$3" "$work/out")" -gt "$before" ] && { grep "^$3" "$work/out" | tail -n 1; return 0; }
        sleep 0.05
    done
    return 1
}
t0=$(date +%s%N)
ask ping 2 pong >/dev/null || fail "no answer to ping within 2 seconds after the storm"
echo "ping answered in $(( ($(date +%s%N) - t0) / 1000000 )) ms"
# Motion off: the check says what is still on, and each is switched off until nothing is.
for _ in 1 2 3 4; do
    check=$(ask check 60 check) || fail "no answer to check within 60 seconds"
    [ "$(field animating "$check")" = yes ] && xdotool key ctrl+y
    [ "$(field auto "$check")" = yes ] && xdotool key ctrl+shift+a
    [ "$(field animating "$check")" = no ] && [ "$(field auto "$check")" = no ] && break
    sleep 0.5
done
echo "final:  $check"
echo "last:   $(grep '^picture complete' "$work/out" | tail -n 1)"
[ "$(field animating "$check")" = no ] && [ "$(field auto "$check")" = no ] || fail "motion could not be switched off"
[ "$(field shown "$check")" = "$(field fresh "$check")" ] || fail "the picture on screen differs from a fresh render of its view"
echo "PASS"
