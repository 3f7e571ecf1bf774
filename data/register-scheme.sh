#!/bin/sh
# Makes glimmerscape:// links open a built but not installed program, for the current user only:
# writes a copy of the launcher into $XDG_DATA_HOME/applications (~/.local/share/applications)
# that starts the given binary, and makes it the user's handler of the scheme.
#
#   register-scheme.sh PROGRAM     register PROGRAM (`make register-scheme` passes the build's)
#   register-scheme.sh --remove    take the registration away again
set -eu

id=com.brellowmik.Glimmerscape
here=$(cd "$(dirname "$0")" && pwd)
apps=${XDG_DATA_HOME:-$HOME/.local/share}/applications
launcher=$apps/$id.desktop

refresh() {
    if command -v update-desktop-database >/dev/null; then update-desktop-database "$apps"; fi
}

# An Exec argument: quoted and escaped only when it holds a character the launcher syntax
# reserves (simple launchers such as xdg-open's fallback split Exec on blanks and keep quotes).
# Inside the quotes " ` $ \ take a backslash, every backslash is then doubled for the string
# level, and % is written %%.
exec_argument() {
    case $1 in
        *[!A-Za-z0-9/._+@,:=-]*)
            printf '"%s"' "$(printf '%s' "$1" | sed -e 's/[\\"`$]/\\&/g' -e 's/\\/\\\\/g' -e 's/%/%%/g')" ;;
        *) printf '%s' "$1" ;;
    esac
}

if [ "${1:-}" = --remove ]; then
    rm -f "$launcher"
    [ -d "$apps" ] && refresh
    echo "Removed $launcher"
    exit 0
fi

[ $# -eq 1 ] || { echo "usage: $0 PROGRAM | --remove" >&2; exit 2; }
program=$(realpath -e -- "$1" 2>/dev/null) || { echo "$0: $1 does not exist" >&2; exit 1; }
[ -f "$program" ] && [ -x "$program" ] || { echo "$0: $program is not a program" >&2; exit 1; }
case $program in *'
'*) echo "$0: a program path with a line break cannot go into a launcher" >&2; exit 1 ;; esac

mkdir -p "$apps"
EXEC="$(exec_argument "$program") %u" \
TRY_EXEC=$(printf '%s' "$program" | sed -e 's/\\/\\\\/g') \
ICON=$(printf '%s' "$here/icons/hicolor/scalable/apps/$id.svg" | sed -e 's/\\/\\\\/g') \
awk '/^Exec=/ { print "Exec=" ENVIRON["EXEC"]; next }
     /^TryExec=/ { print "TryExec=" ENVIRON["TRY_EXEC"]; next }
     /^Icon=/ { print "Icon=" ENVIRON["ICON"]; next }
     { print }' "$here/$id.desktop" >"$launcher.new"
mv -f "$launcher.new" "$launcher"
refresh
if command -v xdg-mime >/dev/null; then
    xdg-mime default "$id.desktop" x-scheme-handler/glimmerscape
else
    echo "$0: xdg-mime (xdg-utils) is missing: the desktop may ask which program opens links" >&2
fi
echo "glimmerscape:// links now open $program"
