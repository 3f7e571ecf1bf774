#!/bin/sh
# Installs the build into a temporary prefix and checks that every file lands where desktops
# and software centres look for it, and that the installed copies still validate.
# usage: install_test.sh BUILD_DIR APP_ID
set -eu
build=$1 id=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() { echo "FAIL: $*"; exit 1; }

cmake --install "$build" --prefix "$prefix" >"$work/log" 2>&1 || { cat "$work/log"; fail "cmake --install"; }

[ -x "$prefix/bin/glimmerscape" ] || fail "no program in bin/"
desktop=$prefix/share/applications/$id.desktop
metainfo=$prefix/share/metainfo/$id.metainfo.xml
[ -f "$desktop" ] || fail "no launcher in share/applications"
[ -f "$metainfo" ] || fail "no AppStream file in share/metainfo"
[ -f "$prefix/share/icons/hicolor/scalable/apps/$id.svg" ] || fail "no scalable icon"
for size in 16 22 24 32 48 64 128 256 512; do
    png=$prefix/share/icons/hicolor/${size}x$size/apps/$id.png
    [ -f "$png" ] || fail "no ${size}px icon"
    actual=$(identify -format '%wx%h' "$png")
    [ "$actual" = "${size}x$size" ] || fail "the ${size}px icon is $actual"
done

desktop-file-validate "$desktop" || fail "installed launcher does not validate"
appstreamcli validate --no-net "$metainfo" || fail "installed AppStream file does not validate"
# The whole tree as a software centre reads it: the component, its launcher and its icon.
appstreamcli validate-tree --no-net "$prefix" || fail "installed tree does not validate"
echo "installed layout OK"
