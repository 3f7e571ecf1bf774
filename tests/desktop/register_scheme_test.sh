#!/bin/sh
# Registers the link scheme for a user whose home is a temporary folder, and checks that the
# desktop now names our launcher as the handler, that opening a link starts the registered
# program with the link, and that removing the registration takes the launcher away.
# usage: register_scheme_test.sh REGISTER_SCRIPT APP_ID
set -eu
register=$1 id=$2
for tool in xdg-mime xdg-open desktop-file-validate; do
    command -v "$tool" >/dev/null || { echo "FAIL: $tool is not installed"; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

# A clean session: no desktop environment, so xdg-utils use their own freedesktop rules.
unset XDG_CURRENT_DESKTOP XDG_SESSION_DESKTOP DESKTOP_SESSION KDE_FULL_SESSION \
      GNOME_DESKTOP_SESSION_ID MATE_DESKTOP_SESSION_ID XDG_DATA_DIRS XDG_CONFIG_DIRS BROWSER
export HOME=$work/home XDG_DATA_HOME=$work/home/data XDG_CONFIG_HOME=$work/home/config
mkdir -p "$HOME"

# A stand-in for the program that records what it was started with.
mkdir -p "$work/with space"
for program in "$work/stub" "$work/with space/stub"; do
    printf '#!/bin/sh\nprintf "%%s\\n" "$@" >"%s/received"\n' "$work" >"$program"
    chmod +x "$program"
done
launcher=$XDG_DATA_HOME/applications/$id.desktop

# A path the launcher syntax must quote still gives a valid launcher.
"$register" "$work/with space/stub" >/dev/null
desktop-file-validate "$launcher" || fail "launcher for a path with a blank does not validate"
grep -qx "Exec=\"$work/with space/stub\" %u" "$launcher" || fail "Exec line: $(grep ^Exec= "$launcher")"

"$register" "$work/stub" >/dev/null
desktop-file-validate "$launcher" || fail "registered launcher does not validate"
handler=$(xdg-mime query default x-scheme-handler/glimmerscape)
[ "$handler" = "$id.desktop" ] || fail "xdg-mime names '$handler' as the handler"

# xdg-open consults scheme handlers only when a display is named; the stand-in opens none.
link='glimmerscape://bookmark?v=1&xmin=-0.75&name=Sea%20horse'
DISPLAY=:0 xdg-open "$link" || fail "xdg-open failed"
[ "$(cat "$work/received")" = "$link" ] || fail "the program received '$(cat "$work/received")'"

"$register" --remove >/dev/null
[ ! -e "$launcher" ] || fail "--remove left the launcher"
echo "scheme registration OK"
