#!/usr/bin/env bash
# End to end: sound mode in the real program on a virtual X display, listening to a private
# PulseAudio server whose microphone is a FIFO fed by sox. The remembered input is one that is
# gone, so the program listens to the server's default. Ctrl+Shift+M switches sound on; in
# silence the picture holds still; while a loud tone with bass pulses it changes from shot to
# shot; in silence again it settles (successive shots equal). Last the server goes away: sound
# mode stops, says why, and the program lives on.
# Usage: e2e_sound.sh PATH/TO/glimmerscape
# Exit 77 (skipped) when PulseAudio or Xvfb cannot run here.
set -u
program=${1:?usage: e2e_sound.sh PATH/TO/glimmerscape}
here=$(dirname "$0")

source "$here/../sound/pulse_fixture.sh"
pulse_dir=$(mktemp -d)
feeder=
e2e_cleanup() {
    [ -n "$feeder" ] && kill "$feeder" 2>/dev/null
    gs_pulse_stop
    rm -rf "$pulse_dir"
}
trap e2e_cleanup EXIT
if ! gs_pulse_start "$pulse_dir" >"$pulse_dir/why"; then
    echo "SKIP: no private PulseAudio server: $(cat "$pulse_dir/why")"
    exit 77
fi
e2e_before_start() {
    mkdir -p "$XDG_CONFIG_HOME/glimmerscape"
    printf '[sound]\ninputDevice=gs_unplugged_mic\n' >"$XDG_CONFIG_HOME/glimmerscape/glimmerscape.conf"
}
source "$here/e2e_common.sh"

# Feeds the microphone in the background, in place of what it was fed so far: `silence` or
# sox synth arguments.
feed() {
    [ -n "$feeder" ] && kill "$feeder" 2>/dev/null
    if [ "$1" = silence ]; then
        (TMPDIR=$pulse_dir gs_pulse_silence 40) &
    else
        (TMPDIR=$pulse_dir gs_pulse_play 40 "$@") &
    fi
    feeder=$!
}
# The number of picture pixels that differ between two screenshots.
differing() { compare -metric AE -crop "$crop" "$work/$1" "$work/$2" null: 2>&1 | awk '{printf "%d", $1}'; }
# Takes up to $1 shots $2 s apart until two in a row are equal; false when none are.
settles() {
    local i
    shoot s0.png
    for ((i = 1; i < $1; i++)); do
        sleep "$2"
        shoot "s$i.png"
        [ "$(differing "s$((i - 1)).png" "s$i.png")" -eq 0 ] && { echo "  equal after $i shots"; return 0; }
    done
    return 1
}
# Waits for the $1-th line of sound mode's trace and prints it.
sound_line() {
    local _
    for _ in $(seq 150); do
        [ "$(grep -c '^sound ' "$work/out")" -ge "$1" ] && break
        sleep 0.1
    done
    grep '^sound ' "$work/out" | sed -n "$1p"
}

wait_for_first_picture
crop="${pw}x${ph}+${px}+${py}"

# Without a window manager the window gets the keyboard only after a click.
feed silence
xdotool mousemove $((px + 5)) $((py + 5)) click 1
sleep 0.6
xdotool key ctrl+shift+m
line=$(sound_line 1)
echo "switch: $line"
[[ $line == "sound on input="*"$GS_PULSE_FIFO"* ]] || fail "sound mode is not listening to the default input"

echo "silence:"
settles 20 0.5 || fail "the picture does not hold still in silence"

echo "tone:"
feed sine 70 sine mix 440 tremolo 3 100
sleep 1
moving=0
shoot t0.png
for i in 1 2 3 4 5 6; do
    sleep 0.3
    shoot "t$i.png"
    changed=$(differing "t$((i - 1)).png" "t$i.png")
    echo "  $changed of $((pw * ph)) picture pixels changed"
    [ "$changed" -gt $((pw * ph / 100)) ] && moving=$((moving + 1))
done
[ "$moving" -ge 4 ] || fail "the picture does not move with the tone ($moving of 6 shots changed)"

echo "silence again:"
feed silence
settles 40 0.5 || fail "the picture does not settle in silence"

echo "server gone:"
[ -n "$feeder" ] && kill "$feeder" 2>/dev/null
feeder=
gs_pulse_stop
line=$(sound_line 2)
echo "  $line"
[[ $line == "sound off reason="*"went away"* ]] || fail "sound mode did not stop when the server went away"
sleep 0.5
kill -0 "$app_pid" 2>/dev/null || fail "the program ended when the sound server went away"
[ "$(grep -c '^picture complete' "$work/out")" -eq 1 ] || fail "sound mode rendered instead of recolouring"
echo "PASS"
