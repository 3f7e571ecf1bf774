#!/usr/bin/env bash
# Runs the live capture tests (the program given as $1, with any further arguments) against a
# private PulseAudio whose microphone is a FIFO fed by sox. Skips (77) when PulseAudio cannot
# run here.
set -u
program=$1
source "$(dirname "$0")/pulse_fixture.sh"
work=$(mktemp -d)
trap 'gs_pulse_stop; rm -rf "$work"' EXIT
if ! gs_pulse_start "$work" >"$work/why"; then
    echo "SKIP: no private PulseAudio server: $(cat "$work/why")"
    exit 77
fi
"$program" "${@:2}"
