#!/usr/bin/env bash
# Makes the pictures of docs/screenshots/ with kfhost itself: scripts played against the real
# windows under Qt's offscreen platform (no display needed), one PNG per dialog state.
#
#   tools/screenshots.sh [BUILD_DIR]     (default: build/dev, configured with the dev preset
#                                           when it does not exist yet)
#
# Texts need fontconfig fonts: Latin and Cyrillic come from fonts-dejavu-core; Japanese needs a
# CJK font such as fonts-noto-cjk.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build/dev}")
OUT=$ROOT/docs/screenshots

say() { printf 'screenshots: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

if [[ ! -f $BUILD/CMakeCache.txt ]]; then
  (cd "$ROOT" && cmake --preset dev) || die "configuring $BUILD failed"
fi
cmake --build "$BUILD" --target kfhost OrvellaForge OrvellaBeamTools kfupdateserver -j "${KF_JOBS:-2}" ||
  die "building kfhost and the add-ons failed"

KFHOST=$BUILD/host/kfhost
SERVER=$BUILD/tools/kfupdateserver
[[ -x $KFHOST ]] || die "no $KFHOST"
"$KFHOST" --help | grep -q -- '--screenshot' || die "$KFHOST was built without Qt 6 Widgets (qt6-base-dev)"

WORK=$(mktemp -d)
SERVER_PID=
cleanup() {
  [[ -n $SERVER_PID ]] && kill "$SERVER_PID" 2>/dev/null && wait "$SERVER_PID" 2>/dev/null
  rm -rf "$WORK"
}
trap cleanup EXIT
export QT_QPA_PLATFORM=offscreen

# play NAME BUNDLE [kfhost arguments...] < script: pictures land in $WORK/NAME/. BUNDLE is relative
# to the build folder, where kfhost runs, so that the pictures show no path of this machine.
play() {
  local name=$1 bundle=$2
  shift 2
  (cd "$BUILD" && "$KFHOST" --addon "$bundle" --framework-folder "$WORK/fw-$name" --gui --screenshot "$WORK/$name" \
    --script - "$@") >"$WORK/$name.log" 2>&1 || { cat "$WORK/$name.log" >&2; die "the $name run failed"; }
}

# keep NAME PICTURE TARGET: one picture of a run, under the name the README uses
keep() {
  [[ -f $WORK/$1/$2 ]] || { ls "$WORK/$1" >&2; die "the $1 run took no $2"; }
  cp "$WORK/$1/$2" "$OUT/$3"
  say "$OUT/$3"
}

mkdir -p "$OUT"

# The first use: the language question, the main dialog in English, then German by the language
# button. Pictures: 001 question, 002 main (int), 003 question again, 004 German chosen, 005 main
# (ger), 006 the host.
play addon addons/OrvellaForge.bundle <<'EOF'
menu 32501 1
expect dialog 32734
expect selected 3 2
click 1
expect dialog 32500
expect text 9 "1.1.1.2001"
click 12
expect dialog 32734
select 3 4
click 1
expect dialog 32500
click 2
expect no-dialog
EOF
keep addon 001-32734.png language-dialog.png
keep addon 002-32500.png main-dialog-int.png
keep addon 005-32500.png main-dialog-ger.png

# An update check against the loopback update server: the results window, alone and beside the
# host's window. Pictures: 001 results, 002 the host with the results beside it.
"$SERVER" --root "$ROOT/tools/update-demo" >"$WORK/port" 2>"$WORK/server.log" &
SERVER_PID=$!
for _ in $(seq 50); do
  [[ -s $WORK/port ]] && break
  sleep 0.1
done
PORT=$(head -n 1 "$WORK/port")
[[ $PORT =~ ^[0-9]+$ ]] || die "the update server did not start: $(cat "$WORK/server.log")"
play update addons/OrvellaBeamTools.bundle --update-server "127.0.0.1:$PORT" <<'EOF'
menu 32601 1
wait 20
expect dialog 32755
expect enabled 5
EOF
keep update 001-32755.png update-results.png
keep update 002-host.png update-results-beside-host.png
