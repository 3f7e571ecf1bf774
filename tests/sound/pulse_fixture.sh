# A private PulseAudio server for tests. Its default source is a FIFO (module-pipe-source) that
# the test fills with sox: to every client it is a real microphone. Sourced, not run; works as
# root (CI) and beside a desktop's own sound server. Needs pulseaudio, pactl and sox.
#
#   gs_pulse_start DIR         starts the server with its files under DIR (which must exist);
#                              prints why and returns 1 when it cannot run here (skip the
#                              test). Call it in the test's own shell, not in $(...).
#   gs_pulse_play SECONDS ARGS feeds SECONDS of sox `synth` sound in real time, e.g.
#                              gs_pulse_play 2 sine 440, or gs_pulse_play 2 sine 60 sine 440
#   gs_pulse_silence SECONDS   feeds SECONDS of silence in real time
#   gs_pulse_stop              stops the server (safe to call twice; put it in the EXIT trap)
#
# Exports PULSE_SERVER and PULSE_CLIENTCONFIG (so clients reach this server and never spawn
# one of their own), and for tests: GS_PULSE_FIFO (the source's FIFO, raw mono float32 at
# GS_PULSE_RATE Hz), GS_PULSE_SOURCE (the default source's name), GS_PULSE_OTHER_SOURCE
# (a second, silent source listed before it), and GS_PULSE_SOURCE_ARGS and
# GS_PULSE_OTHER_SOURCE_ARGS (their module-pipe-source arguments, to load them again after a
# test removed them).

GS_PULSE_RATE=48000
gs_pulse_pid=

gs_pulse_start() {
    local dir=$1 tool
    for tool in pulseaudio pactl sox; do
        command -v "$tool" >/dev/null || { echo "$tool is not installed"; return 1; }
    done
    mkdir -p "$dir/pulse/home" "$dir/pulse/run" && chmod 700 "$dir/pulse/run" || return 1
    export GS_PULSE_FIFO=$dir/pulse/mic.fifo GS_PULSE_SOURCE=gs_test_mic
    export GS_PULSE_OTHER_SOURCE=gs_other_mic GS_PULSE_RATE
    local format="format=float32le rate=$GS_PULSE_RATE channels=1"
    export GS_PULSE_SOURCE_ARGS="source_name=$GS_PULSE_SOURCE file=$GS_PULSE_FIFO $format"
    export GS_PULSE_OTHER_SOURCE_ARGS="source_name=$GS_PULSE_OTHER_SOURCE file=$dir/pulse/other.fifo $format"
    cat >"$dir/pulse/server.pa" <<PA
load-module module-native-protocol-unix auth-anonymous=1 socket=$dir/pulse/run/native
load-module module-pipe-source $GS_PULSE_OTHER_SOURCE_ARGS
load-module module-pipe-source $GS_PULSE_SOURCE_ARGS
set-default-source $GS_PULSE_SOURCE
PA
    echo "autospawn = no" >"$dir/pulse/client.conf"
    export PULSE_SERVER=unix:$dir/pulse/run/native PULSE_CLIENTCONFIG=$dir/pulse/client.conf
    # -n: only the modules above. Root gets a warning but runs: --system=no keeps it a private
    # per-user server. No shared memory (containers have little), no CPU limit (a loaded test
    # machine must not make it kill itself), no exit when idle.
    HOME=$dir/pulse/home XDG_RUNTIME_DIR=$dir/pulse/run XDG_CONFIG_HOME=$dir/pulse/home \
        pulseaudio -n -F "$dir/pulse/server.pa" --daemonize=no --system=no --exit-idle-time=-1 \
        --use-pid-file=no --disable-shm=yes --no-cpu-limit=yes --realtime=no \
        --high-priority=no --log-target=stderr --log-level=error >/dev/null 2>"$dir/pulse/server.log" &
    gs_pulse_pid=$!
    # Should the test be killed before its EXIT trap runs, the server goes with it.
    (while kill -0 $$ 2>/dev/null; do sleep 1; done; kill "$gs_pulse_pid" 2>/dev/null) >/dev/null 2>&1 &
    local _
    for _ in $(seq 50); do
        pactl info >/dev/null 2>&1 && [ -p "$GS_PULSE_FIFO" ] && return 0
        kill -0 "$gs_pulse_pid" 2>/dev/null || break
        sleep 0.1
    done
    echo "PulseAudio did not start: $(tr '\n' ' ' <"$dir/pulse/server.log")"
    gs_pulse_stop
    return 1
}

# Writes a raw sound file into the FIFO a tenth of a second at a time, in real time.
gs_pulse_feed() {
    local file=$1 chunk=$((GS_PULSE_RATE * 4 / 10)) i n
    n=$(($(stat -c %s "$file") / chunk))
    for ((i = 0; i < n; i++)); do
        dd bs="$chunk" count=1 iflag=fullblock status=none || return 1
        sleep 0.1
    done <"$file" >"$GS_PULSE_FIFO"
}

# Makes the sound with sox (EFFECT: synth SECONDS ... or trim 0 SECONDS) and feeds it.
gs_pulse_sox() {
    local file status
    file=$(mktemp) || return 1
    sox -q -n -r "$GS_PULSE_RATE" -c 1 -e floating-point -b 32 -t raw "$file" "$@" && gs_pulse_feed "$file"
    status=$?
    rm -f "$file"
    return $status
}

gs_pulse_play() {
    local seconds=$1
    shift
    gs_pulse_sox synth "$seconds" "$@"
}

gs_pulse_silence() { gs_pulse_sox trim 0 "$1"; }

gs_pulse_stop() {
    [ -n "$gs_pulse_pid" ] || return 0
    kill "$gs_pulse_pid" 2>/dev/null
    wait "$gs_pulse_pid" 2>/dev/null
    gs_pulse_pid=
}
