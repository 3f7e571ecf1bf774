# Shared set-up of the end-to-end scripts: a virtual X display, the real program started with its
# trace on, and helpers to wait for pictures and read screen pixels. Sourced, not run.
# Expects $program; defines $work, $app_pid, fail, start_program, wait_for_picture, field, pixel,
# shoot.
# A script may define e2e_before_start (run just before the program starts, with HOME and the
# XDG variables set) and e2e_cleanup (run on exit, before the display and $work go), and set
# e2e_defer_start=1 to call start_program itself (with the program's arguments).

command -v Xvfb >/dev/null || { echo "SKIP: Xvfb is not installed"; exit 77; }
for tool in xdotool import convert; do
    command -v "$tool" >/dev/null || { echo "FAIL: $tool is not installed"; exit 1; }
done

work=$(mktemp -d)
xvfb_pid= app_pid=
cleanup() {
    declare -F e2e_cleanup >/dev/null && e2e_cleanup
    [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    wait $app_pid $xvfb_pid 2>/dev/null  # only these: a script's own helpers may outlive them
    # In a sanitizer build a report (even one written as the program quit) fails the script.
    if grep -qE '^==[0-9]+==ERROR|runtime error:|^WARNING: ThreadSanitizer' "$work/err" 2>/dev/null; then
        echo "FAIL: sanitizer report"; cat "$work/err"; rm -rf "$work"; exit 1
    fi
    rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*"; echo "--- program output"; cat "$work/out" "$work/err" 2>/dev/null; exit 1; }

# The server picks a free display itself and writes its number once it accepts clients, so
# runs side by side never race for one.
Xvfb -displayfd 3 -screen 0 1280x900x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do grep -q '^[0-9]\+$' "$work/display" 2>/dev/null && break; sleep 0.1; done
grep -q '^[0-9]\+$' "$work/display" 2>/dev/null || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
export DISPLAY=:$(cat "$work/display")
xdotool getdisplaygeometry >/dev/null 2>&1 || fail "no display on $DISPLAY"

export HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export XDG_RUNTIME_DIR=$work/run && mkdir -m 700 "$XDG_RUNTIME_DIR"
declare -F e2e_before_start >/dev/null && e2e_before_start
# Starts the program with its trace on, with the arguments given (again, after it quit: the
# output starts afresh).
start_program() {
    GLIMMERSCAPE_TRACE=1 "$program" "$@" >"$work/out" 2>"$work/err" &
    app_pid=$!
}
[ -n "${e2e_defer_start:-}" ] || start_program

# Waits until the program has printed `count` complete pictures; prints the last such line.
wait_for_picture() {
    local count=$1
    for _ in $(seq 300); do
        if [ "$(grep -c '^picture complete' "$work/out")" -ge "$count" ]; then
            grep '^picture complete' "$work/out" | sed -n "${count}p"
            return 0
        fi
        kill -0 "$app_pid" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}
field() { sed -n "s/.* $1=\([^ ]*\).*/\1/p" <<<"$2"; }
# Waits for the first picture: sets `first` to its line and px py pw ph to where it is.
wait_for_first_picture() {
    first=$(wait_for_picture 1) || fail "no first picture"
    echo "first:  $first"
    IFS=, read -r px py pw ph <<<"$(field picture "$first")"
}
# "r g b" of one screen pixel (x, y, optional screenshot file, default shot.png).
pixel() {
    convert "$work/${3:-shot.png}" -format "%[fx:int(255*p{$1,$2}.r+0.5)] %[fx:int(255*p{$1,$2}.g+0.5)] %[fx:int(255*p{$1,$2}.b+0.5)]" info:
}

# Takes a screenshot of the whole virtual screen into $work/$1.
shoot() { import -window root "$work/$1" 2>/dev/null; }
